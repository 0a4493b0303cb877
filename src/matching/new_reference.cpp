#include <algorithm>
#include <filesystem>
#include <limits>
#include <string>
#include <unordered_set>
#include <vector>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/company_file.h"
#include "host/conversions.h"
#include "host/desktop_port.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/store.h"
#include "matching/references.h"
#include "posting/posting_runs.h"

namespace pendara {

namespace {

// Candidates looked up per statement; a shorter block repeats its last candidate.
constexpr std::size_t kLookupBlock = 64;

// The current company's entries file, open for the look-ups of a draw: the connection a
// ConnectionReuse keeps for the run when there is one, so that a group save does not open the
// file for every draw. Ends the program when the chain has no first company to keep the counter.
class EntriesLookup {
  public:
    explicit EntriesLookup(Session& s) : db_(CurrentEntriesFile(s)) {
        if (db_->Catalogue().kind != FileKind::Entries)
            throw HostError("El fichero " + db_->path() + " no es un fichero de apuntes");
        if (s.FirstCompanyFile.empty()) {
            s.port.MsgBox("Empresa no existe", kVbCritical, "");
            throw ProgramEnd{1};
        }
    }

    // The look-up is not under the counter's lock: it only skips numbers that some entry already
    // carries (after a company file was restored from an older copy, for one). Of `candidates`,
    // those some entry carries exactly as its reference, all read in one read of the file.
    std::unordered_set<std::string> InUse(const std::vector<std::string>& candidates) {
        std::unordered_set<std::string> used;
        if (candidates.empty()) return used;
        if (candidates.size() == 1) {
            if (InUse(candidates[0])) used.insert(candidates[0]);
            return used;
        }
        Stmt& block = db_->Prepared(BlockSql());
        const bool several = candidates.size() > kLookupBlock;
        if (several) db_->Exec("BEGIN");
        try {
            for (std::size_t at = 0; at < candidates.size(); at += kLookupBlock) {
                block.Reset();
                for (std::size_t i = 0; i < kLookupBlock; ++i)
                    block.Bind(
                        static_cast<int>(i + 1),
                        std::string_view(candidates[std::min(at + i, candidates.size() - 1)]));
                while (block.Step())
                    used.insert(block.Text(0));
            }
            block.Reset();
            if (several) db_->Exec("COMMIT");
        } catch (...) {
            block.Reset();
            if (several) {
                try {
                    db_->Exec("ROLLBACK");
                } catch (const HostError&) {
                    // only read: the connection's end rolls back what is left
                }
            }
            throw;
        }
        return used;
    }

    bool InUse(const std::string& candidate) {
        Stmt& one = db_->Prepared(
            "SELECT 1 FROM entries WHERE referencia = ? AND referencia <> '' LIMIT 1");
        one.Bind(1, std::string_view(candidate));
        const bool found = one.Step();
        one.Reset();
        return found;
    }

  private:
    // Names the current company when none is, and finds its entries file as the cursor does.
    static std::string CurrentEntriesFile(Session& s) {
        if (Trim(s.CurrentFolder).empty()) {
            s.CurrentFolder = FolderOf(s.ActiveCompanyFile);
            s.CurrentCode = CompanyCode(s.ActiveCompanyFile);
        }
        const std::string path = EntriesFile(s.CurrentFolder, s.CurrentCode);
        const std::string file = ResolveFileName(path);
        std::error_code ec;
        if (file.empty() || !std::filesystem::is_regular_file(file, ec))
            throw HostError("No existe el fichero de datos " + path);
        return file;
    }

    static const std::string& BlockSql() {
        static const std::string sql = [] {
            std::string text = "SELECT referencia FROM entries WHERE referencia IN (?";
            for (std::size_t i = 1; i < kLookupBlock; ++i)
                text += ", ?";
            // Stated so that SQLite uses the reference's index, which leaves the empty one out
            // (no candidate is empty).
            return text + ") AND referencia <> ''";
        }();
        return sql;
    }

    DbHandle db_;
};

std::string Candidate(std::int32_t number) {
    return std::string(kSystemPrefix) + std::to_string(number);
}

}  // namespace

std::string NewReference(Session& s) {
    EntriesLookup entries(s);
    std::string candidate;
    const WaitPolicy wait = WaitPolicyFor(s);
    do {
        candidate = Candidate(IncrementCounter(s.FirstCompanyFile, wait));
    } while (entries.InUse(candidate));
    return candidate;
}

std::vector<std::string> NewReferences(Session& s, std::int32_t count) {
    std::vector<std::string> out;
    if (count <= 0) return out;
    EntriesLookup entries(s);
    const WaitPolicy wait = WaitPolicyFor(s);
    // A block of numbers per lock instead of one; the numbers in use are skipped and made up
    // for by a further block, so the references and the final counter are those of `count`
    // single draws.
    std::vector<std::string> block;
    while (static_cast<std::int32_t>(out.size()) < count) {
        std::int32_t need = count - static_cast<std::int32_t>(out.size());
        std::int32_t last = AddToCounter(s.FirstCompanyFile, need, wait);
        // The block's look-ups in one read of the entries, taken after the counter's lock is
        // let go.
        block.clear();
        for (std::int32_t n = last - need + 1; n <= last; ++n)
            block.push_back(Candidate(n));
        const std::unordered_set<std::string> used = entries.InUse(block);
        for (std::string& candidate : block)
            if (!used.contains(candidate)) out.push_back(std::move(candidate));
    }
    return out;
}

std::string PreviewCounter::Next() {
    EntriesLookup entries(session_);
    if (!read_) {
        value_ = ReadCounter(session_.FirstCompanyFile);
        read_ = true;
    }
    std::string candidate;
    do {
        if (value_ == std::numeric_limits<std::int32_t>::max())
            throw HostError("Desbordamiento del contador de referencias de " +
                            session_.FirstCompanyFile);
        candidate = Candidate(++value_);
    } while (entries.InUse(candidate));
    return candidate;
}

std::vector<std::string> PreviewCounter::Next(std::int32_t count) {
    std::vector<std::string> out;
    for (std::int32_t i = 0; i < count; ++i)
        out.push_back(Next());
    return out;
}

}  // namespace pendara
