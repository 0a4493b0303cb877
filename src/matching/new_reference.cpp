#include <limits>
#include <string>
#include <vector>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/company_file.h"
#include "host/conversions.h"
#include "host/desktop_port.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "matching/references.h"
#include "posting/posting_runs.h"

namespace pendara {

namespace {

// The current company's entries, open for the look-ups; ends the program when the chain has no
// first company to keep the counter.
void OpenCurrentEntries(Session& s, QvFileControl2& entries) {
    if (Trim(s.CurrentFolder).empty()) {
        s.CurrentFolder = FolderOf(s.ActiveCompanyFile);
        s.CurrentCode = CompanyCode(s.ActiveCompanyFile);
    }
    entries.OpenFile(EntriesFile(s.CurrentFolder, s.CurrentCode), "");
    entries.MoveFirst();
    if (s.FirstCompanyFile.empty()) {
        s.port.MsgBox("Empresa no existe", kVbCritical, "");
        throw ProgramEnd{1};
    }
}

std::string Candidate(std::int32_t number) {
    return std::string(kSystemPrefix) + std::to_string(number);
}

// The look-up is not under the counter's lock: it only skips numbers that some entry already
// carries (after a company file was restored from an older copy, for one).
bool InUse(QvFileControl2& entries, const std::string& candidate) {
    entries.SetFilter("Referencia punteo =" + candidate);
    entries.MoveFirst();
    return entries.GetRecordCount() != 0;
}

}  // namespace

std::string NewReference(Session& s) {
    QvFileControl2 entries;
    OpenCurrentEntries(s, entries);
    std::string candidate;
    const WaitPolicy wait = WaitPolicyFor(s);
    do {
        candidate = Candidate(IncrementCounter(s.FirstCompanyFile, wait));
    } while (InUse(entries, candidate));
    entries.CloseFile();
    return candidate;
}

std::vector<std::string> NewReferences(Session& s, std::int32_t count) {
    std::vector<std::string> out;
    if (count <= 0) return out;
    QvFileControl2 entries;
    OpenCurrentEntries(s, entries);
    const WaitPolicy wait = WaitPolicyFor(s);
    // A block of numbers per lock instead of one; the numbers in use are skipped and made up
    // for by a further block, so the references and the final counter are those of `count`
    // single draws.
    while (static_cast<std::int32_t>(out.size()) < count) {
        std::int32_t need = count - static_cast<std::int32_t>(out.size());
        std::int32_t last = AddToCounter(s.FirstCompanyFile, need, wait);
        // The block's look-ups in one read of the entries, taken after the counter's lock is
        // let go.
        entries.HoldRead();
        for (std::int32_t n = last - need + 1; n <= last; ++n) {
            std::string candidate = Candidate(n);
            if (!InUse(entries, candidate)) out.push_back(std::move(candidate));
        }
        entries.ReleaseRead();
    }
    entries.CloseFile();
    return out;
}

std::string PreviewCounter::Next() {
    QvFileControl2 entries;
    OpenCurrentEntries(session_, entries);
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
    } while (InUse(entries, candidate));
    entries.CloseFile();
    return candidate;
}

std::vector<std::string> PreviewCounter::Next(std::int32_t count) {
    std::vector<std::string> out;
    for (std::int32_t i = 0; i < count; ++i)
        out.push_back(Next());
    return out;
}

}  // namespace pendara
