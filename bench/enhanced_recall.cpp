// How many of the groups the demo generator made a group save finds again, with the usual
// matching and with the enhanced mode, and what the enhanced mode costs.
//
//   bench_enhanced_recall [--seeds 1,2,3] [--accounts N] [--entries-per-year N] [--repeat R]
//                         [--detail]
//
// Per demo group (one per seed) and mode it prints:
//   recall     true groups that end under one system reference, whole and alone, after the
//              group save;
//   precision  references formed on customer and supplier accounts that are exactly a true group;
//   added      the groups only the enhanced mode formed, and how many of them are true;
//   broken     true groups a member of which the usual passes put under a reference that is
//              not exactly the group: no later pass can mend them, since those passes run first;
//   cost       processor time of the matching run of every account of the list (banks, sales and
//              taxes too) in enhanced mode against the usual mode (the best of R runs each,
//              alternating): all accounts together and the worst account; and of the whole group
//              save.

#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "host/company_store.h"
#include "host/demo.h"
#include "host/settings.h"
#include "matching/matching_run.h"
#include "matching/references.h"
#include "posting_common.h"
#include "support/scripted_port.h"
#include "ui/main_window.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {
namespace {

using Key = std::pair<std::string, std::int32_t>;  // company file name, record
using Members = std::set<Key>;

struct Options {
    std::vector<std::uint64_t> seeds{1, 2, 3};
    int accounts = 40;
    int entriesPerYear = 3000;
    int repeat = 5;
    bool detail = false;  // lists the entries of every false group the enhanced mode added
};

bool Customer(const std::string& account) {
    return account.starts_with("430") || account.starts_with("400");
}

// System references of customer and supplier entries after a save, with their entries.
std::map<std::string, Members> SavedGroups(const std::vector<std::string>& companies) {
    std::map<std::string, Members> groups;
    for (const std::string& c : companies) {
        const std::string name = std::filesystem::path(c).filename().string();
        for (const EntryRecord& e : ReadEntries(c))
            if (Customer(e.cuenta) && IsSystemReference(e.referencia))
                groups[e.referencia].insert({name, e.registro});
    }
    return groups;
}

std::set<Members> AsSets(const std::map<std::string, Members>& groups) {
    std::set<Members> sets;
    for (const auto& [ref, members] : groups)
        sets.insert(members);
    return sets;
}

// Copies a demo group into `to` and makes its newest year the active company.
std::vector<std::string> Copy(const std::string& from, const std::vector<std::string>& companies,
                              const std::string& to) {
    std::filesystem::remove_all(to);
    std::filesystem::copy(from, to, std::filesystem::copy_options::recursive);
    std::vector<std::string> out;
    for (const std::string& c : companies)
        out.push_back((std::filesystem::path(to) / std::filesystem::path(c).filename()).string());
    ScriptedPort port;
    SetRegValue(port, "Active", out.back());
    return out;
}

void GroupSave(bool enhanced) {
    ScriptedPort port;
    Pndra w(port);
    w.EnhancedForced = enhanced;
    Form_Load(w);
    Toolbar1_Click(w, 8);  // the full account list
    Grabartodo(w);
}

// Processor time of this process: the machine is shared, and other programs' load must not
// count against either mode.
double CpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// Matching-run time per account of the list, best of `repeat` runs, both modes.
std::vector<std::pair<double, double>> RunCosts(int repeat) {
    ScriptedPort port;
    Pndra w(port);
    Form_Load(w);
    Toolbar1_Click(w, 8);
    const std::string company = w.session.ConsultedFiles[w.List1.ItemData(0)];
    std::vector<std::pair<double, double>> costs;
    for (int i = 0; i < w.List2.ListCount(); ++i) {
        const std::string entry = w.List2.List(i);
        const std::string account = entry.substr(0, entry.find(' '));
        double best[2] = {1e9, 1e9};
        for (int r = 0; r < repeat; ++r)
            for (int mode = 0; mode < 2; ++mode) {
                w.EnhancedForced = mode == 1;
                const double start = CpuSeconds();
                PVporImportes(w, company, account);
                best[mode] = std::min(best[mode], CpuSeconds() - start);
            }
        costs.push_back({best[0], best[1]});
    }
    return costs;
}

struct Figures {
    std::size_t trueGroups = 0, found = 0, references = 0, exact = 0, added = 0, addedTrue = 0,
                broken = 0;
    double saveSeconds = 0;
};

// The entries of a group formed, with the true group of each, on standard error.
void PrintGroup(const Members& m, const std::vector<std::string>& companies,
                const std::vector<DemoTruth>& truth) {
    std::map<Key, std::string> trueGroup;
    for (const DemoTruth& t : truth)
        trueGroup[{t.company, t.record}] = t.group;
    std::cerr << "Grupo falso:\n";
    for (const std::string& c : companies) {
        const std::string name = std::filesystem::path(c).filename().string();
        for (const EntryRecord& e : ReadEntries(c))
            if (m.count({name, e.registro}))
                std::cerr << "  " << name << ' ' << e.registro << ' ' << e.cuenta << ' ' << e.fecha
                          << " \"" << e.descripcion << "\" " << e.importe
                          << " verdadero=" << trueGroup[{name, e.registro}] << '\n';
    }
}

std::string Percent(std::size_t part, std::size_t whole) {
    if (whole == 0) return "-";
    std::ostringstream s;
    s.setf(std::ios::fixed);
    s.precision(2);
    s << 100.0 * static_cast<double>(part) / static_cast<double>(whole) << "%";
    return s.str();
}

void DataSet(const Options& o, std::uint64_t seed, const std::string& root) {
    DemoOptions d;
    d.folder = root + "/demo";
    d.seed = seed;
    d.accounts = o.accounts;
    d.entriesPerYear = o.entriesPerYear;
    d.withKey = false;
    std::filesystem::remove_all(d.folder);
    DemoResult demo = GenerateDemo(d);

    std::map<std::string, Members> truth;
    for (const DemoTruth& t : demo.truth)
        if (!t.group.empty()) truth[t.group].insert({t.company, t.record});
    std::set<Members> trueSets = AsSets(truth);

    Figures f[2];
    std::set<Members> usualSets;
    for (int mode = 0; mode < 2; ++mode) {
        std::vector<std::string> companies = Copy(d.folder, demo.companies, root + "/run");
        const double start = CpuSeconds();
        GroupSave(mode == 1);
        f[mode].saveSeconds = CpuSeconds() - start;
        std::map<std::string, Members> saved = SavedGroups(companies);
        std::map<Key, const Members*> groupOf;
        for (const auto& [ref, members] : saved)
            for (const Key& k : members)
                groupOf[k] = &members;
        Figures& g = f[mode];
        g.trueGroups = truth.size();
        for (const auto& [id, members] : truth) {
            const Members* first =
                groupOf.count(*members.begin()) ? groupOf[*members.begin()] : nullptr;
            if (first && *first == members) ++g.found;
            bool broken = std::any_of(members.begin(), members.end(), [&](const Key& k) {
                return groupOf.count(k) && *groupOf[k] != members;
            });
            if (broken) ++g.broken;
        }
        std::set<Members> sets = AsSets(saved);
        g.references = sets.size();
        for (const Members& m : sets) {
            const bool exact = trueSets.count(m) > 0;
            g.exact += exact;
            if (mode == 1 && !usualSets.count(m)) {
                ++g.added;
                g.addedTrue += exact;
                if (!exact && o.detail) PrintGroup(m, companies, demo.truth);
            }
        }
        if (mode == 0) usualSets = std::move(sets);
    }

    Copy(d.folder, demo.companies, root + "/run");
    std::vector<std::pair<double, double>> costs = RunCosts(o.repeat);
    double usual = 0, enh = 0, worst = 0;
    for (auto [s, e] : costs) {
        usual += s;
        enh += e;
        worst = std::max(worst, e / s);
    }

    for (int mode = 0; mode < 2; ++mode) {
        const Figures& g = f[mode];
        std::cout << seed << '\t' << o.accounts << '\t' << o.entriesPerYear << '\t'
                  << (mode ? "mejorado" : "habitual") << '\t' << g.found << '/' << g.trueGroups
                  << '\t' << Percent(g.found, g.trueGroups) << '\t' << g.exact << '/'
                  << g.references << '\t' << Percent(g.exact, g.references) << '\t';
        if (mode)
            std::cout << g.addedTrue << '/' << g.added << '\t' << g.added - g.addedTrue;
        else
            std::cout << "-\t-";
        std::cout << '\t' << g.broken << '\t';
        if (mode) {
            std::ostringstream r;
            r.setf(std::ios::fixed);
            r.precision(2);
            r << enh / usual << "x (peor cuenta " << worst << "x; grabación del grupo "
              << f[1].saveSeconds / f[0].saveSeconds << "x)";
            std::cout << r.str();
        } else {
            std::cout << "1.00x";
        }
        std::cout << '\n' << std::flush;
    }
}

std::vector<std::uint64_t> Seeds(const std::string& text) {
    std::vector<std::uint64_t> seeds;
    std::stringstream s(text);
    std::string item;
    while (std::getline(s, item, ','))
        seeds.push_back(std::stoull(item));
    return seeds;
}

}  // namespace
}  // namespace pendara

int main(int argc, char** argv) {
    using namespace pendara;
    Options o;
    for (int i = 1; i < argc; i += 2) {
        const std::string flag = argv[i];
        if (flag == "--detail") {
            o.detail = true;
            --i;
            continue;
        }
        if (i + 1 == argc) {
            std::cerr << "falta el valor de " << flag << '\n';
            return 2;
        }
        const std::string value = argv[i + 1];
        if (flag == "--seeds")
            o.seeds = Seeds(value);
        else if (flag == "--accounts")
            o.accounts = std::stoi(value);
        else if (flag == "--entries-per-year")
            o.entriesPerYear = std::stoi(value);
        else if (flag == "--repeat")
            o.repeat = std::stoi(value);
        else {
            std::cerr << "opción desconocida: " << flag << '\n';
            return 2;
        }
    }
    bench::Scratch scratch;
    std::cout << "semilla\tcuentas\tapuntes/año\tmodo\tgrupos hallados\trecall\t"
                 "referencias exactas\tprecisión\tañadidos verdaderos\tañadidos falsos\t"
                 "rotos por los pasos habituales\tcoste\n";
    for (std::uint64_t seed : o.seeds)
        DataSet(o, seed, scratch.file("data"));
    return 0;
}
