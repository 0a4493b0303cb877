// The dry run of save and save-all against the real run on a demo company group: it writes
// nothing (every company's entries and every counter byte for byte), its summary holds the
// figures the real run then reports, and the rows it announces are the ones the real run writes.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "host/settings.h"
#include "support/ledger.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace pendara {
namespace {

struct Outcome {
    int status = -1;
    std::string out, err;
};

class DryRunCliTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        data = l.File("demo");
        ASSERT_EQ(Shell(std::string(QVDATA_EXE) + " demo " + data + " --no-key").status, 0);
        for (const auto& e : std::filesystem::directory_iterator(data))
            if (e.path().extension() == ".QVT") companies.push_back(e.path().string());
        ASSERT_GE(companies.size(), 2u);
    }

    Outcome Shell(const std::string& command) {
        const std::string errFile = l.File("err.txt");
        testing::CommandResult r = testing::RunCommand(command + " 2>" + errFile);
        Outcome out{r.status, r.out, ""};
        std::ifstream in(errFile, std::ios::binary);
        std::ostringstream err;
        err << in.rdbuf();
        out.err = err.str();
        return out;
    }
    Outcome Cli(const std::string& args) {
        return Shell(std::string(PENDARA_CLI_EXE) + " " + args);
    }

    // Every company's entries and counter as the data tool exports them.
    std::string Snapshot() {
        std::string all;
        for (const std::string& c : companies) {
            all += Shell(std::string(QVDATA_EXE) + " export-entries " + c).out;
            all += Shell(std::string(QVDATA_EXE) + " counter " + c).out;
        }
        return all;
    }

    // The figures of a summary, in order, whatever its wording.
    static std::vector<std::string> Figures(const std::string& summary) {
        std::vector<std::string> figures;
        std::string current;
        for (char c : summary + "\n") {
            if ((c >= '0' && c <= '9') || (c == '.' && !current.empty()) ||
                (c == '-' && current.empty()))
                current += c;
            else {
                if (!current.empty() && current != "-") figures.push_back(current);
                current.clear();
            }
        }
        return figures;
    }

    // Company and record -> "reference TAB mark" for each row the dry run announced, the
    // provisional tag taken off.
    static std::map<std::string, std::string> Announced(const std::string& out) {
        std::map<std::string, std::string> rows;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);) {
            std::vector<std::string> f;
            std::istringstream cells(line);
            for (std::string cell; std::getline(cells, cell, '\t');)
                f.push_back(cell);
            EXPECT_EQ(f.size(), 7u) << line;
            if (f.size() != 7) continue;
            EXPECT_EQ(f[4], "->");
            std::string ref = f[5];
            if (ref.ends_with(" (provisional)")) ref.resize(ref.size() - 14);
            rows[f[0] + "/" + f[1]] = ref + "\t" + f[6];
        }
        return rows;
    }

    // Company and record -> "reference TAB mark" of every entry of the demo group.
    std::map<std::string, std::string> Entries() {
        std::map<std::string, std::string> rows;
        for (const std::string& c : companies) {
            const std::string name = std::filesystem::path(c).stem().string();
            std::istringstream lines(Shell(std::string(QVDATA_EXE) + " export-entries " + c).out);
            std::string line;
            std::getline(lines, line);  // the header
            while (std::getline(lines, line)) {
                if (line.ends_with('\r')) line.pop_back();
                std::vector<std::string> f;
                std::istringstream cells(line);
                for (std::string cell; std::getline(cells, cell, ';');)
                    f.push_back(cell);
                if (f.size() < 13) f.resize(13);
                rows[name + "/" + f[0]] = f[12] + "\t" + f[8];
            }
        }
        return rows;
    }

    // Dry run, nothing written, then the real run: same figures, announced rows written.
    void CompareWithRealRun(const std::string& dry, const std::string& real) {
        const std::string before = Snapshot();
        const Outcome preview = Cli(dry);
        ASSERT_EQ(preview.status, 0) << preview.err;
        EXPECT_EQ(preview.err.rfind("Simulación: no se ha escrito nada.\n", 0), 0u) << preview.err;
        EXPECT_EQ(Snapshot(), before) << dry;
        const std::map<std::string, std::string> old = Entries();
        const std::map<std::string, std::string> announced = Announced(preview.out);
        EXPECT_FALSE(announced.empty()) << dry;

        const Outcome done = Cli(real);
        ASSERT_EQ(done.status, 0) << done.err;
        EXPECT_EQ(Figures(preview.err), Figures(done.err)) << preview.err << done.err;
        const std::map<std::string, std::string> now = Entries();
        std::size_t changed = 0;
        for (const auto& [key, value] : now) {
            const auto a = announced.find(key);
            if (a != announced.end()) {
                EXPECT_EQ(value, a->second) << key;
                EXPECT_NE(old.at(key), a->second) << key;
            } else {
                EXPECT_EQ(value, old.at(key)) << key << " changed but was not announced";
            }
            if (value != old.at(key)) ++changed;
        }
        EXPECT_EQ(changed, announced.size());
    }

    testing::Ledger l;
    std::string data;
    std::vector<std::string> companies;
};

TEST_F(DryRunCliTest, GroupSaveDryRunWritesNothingAndForetellsTheRun) {
    CompareWithRealRun("save-all --dry-run", "save-all --yes");
}

// With the forced punteo where the balance returns to 0, an account is saved twice: the second
// save's rows are told against what the first would have written.
TEST_F(DryRunCliTest, DryRunOfTwoSavesOfOneAccountTellsTheirJointEffect) {
    ASSERT_EQ(Cli("config --punteo2 1").status, 0);
    CompareWithRealRun("save-all --dry-run", "save-all --yes");
}

TEST_F(DryRunCliTest, SaveDryRunOfOneAccount) {
    const Outcome list = Cli("list 43 --pending");
    ASSERT_EQ(list.status, 0);
    const std::string account = list.out.substr(0, list.out.find(' '));
    ASSERT_FALSE(account.empty());
    CompareWithRealRun("save " + account + " --dry-run", "save " + account);
}

}  // namespace
}  // namespace pendara
