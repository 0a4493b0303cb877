#include "host/settings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/errors.h"
#include "host/notices.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"

namespace pendara {
namespace {

class RegistryTest : public testing::SettingsTest {
  protected:
    ScriptedPort port;
};

TEST_F(RegistryTest, MissingAndBlankValuesReadAsTheDefault) {
    EXPECT_EQ(GetRegValue("Active").text(), "");
    EXPECT_EQ(GetRegValue("Active", "", "x").text(), "x");
    // An empty value is stored as one blank, which reads back as not set.
    SetRegValue(port, "Ultima", "", "Punteo");
    auto stored = Registry().Query(std::string(kRegistryRoot) + "Punteo\\", "Ultima");
    ASSERT_TRUE(stored);
    EXPECT_EQ(*stored, " ");
    EXPECT_EQ(GetRegValue("Ultima", "Punteo").text(), "");
    EXPECT_EQ(GetRegValue("Ultima", "Punteo", "d").text(), "d");
}

TEST_F(RegistryTest, SectionsAreSeparateAndNamesIgnoreCase) {
    SetRegValue(port, "Active", "/data/EMP01.QVT");
    SetRegValue(port, "Ultima", "4300000138", "Punteo");
    EXPECT_EQ(GetRegValue("active").text(), "/data/EMP01.QVT");
    EXPECT_EQ(GetRegValue("Active", "Punteo").text(), "");
    EXPECT_EQ(GetRegValue("ULTIMA", "punteo").text(), "4300000138");
    // The default section is "Settings".
    EXPECT_EQ(GetRegValue("Active", "Settings").text(), "/data/EMP01.QVT");
}

TEST_F(RegistryTest, BooleansAreExactSpanishTexts) {
    SetRegValue(port, "A", "Verdadero");
    SetRegValue(port, "B", "verdadero");
    SetRegBool(port, "C", false);
    EXPECT_TRUE(GetRegValue("A").isBool());
    EXPECT_TRUE(GetRegValue("A").asBool());
    EXPECT_FALSE(GetRegValue("B").isBool());
    EXPECT_EQ(GetRegValue("B").text(), "verdadero");
    EXPECT_TRUE(GetRegValue("C").isBool());
    EXPECT_FALSE(GetRegValue("C").asBool());
    EXPECT_EQ(GetRegValue("C").text(), "Falso");
}

TEST_F(RegistryTest, ValuesUpTo254CharactersReadWhole) {
    std::string v254(254, 'x'), v255(255, 'y');
    SetRegValue(port, "Long", v254);
    SetRegValue(port, "TooLong", v255);
    EXPECT_EQ(GetRegValue("Long").text(), v254);
    EXPECT_EQ(GetRegValue("TooLong", "", "def").text(), "def");
    // Accented text and characters that need escaping survive the file.
    SetRegValue(port, "Path", "C:\\Datos\\\"Año\"\\EMP01.QVT");
    EXPECT_EQ(GetRegValue("Path").text(), "C:\\Datos\\\"Año\"\\EMP01.QVT");
}

TEST_F(RegistryTest, TheLimitCountsCharacters) {
    auto repeat = [](const std::string& piece, int n) {
        std::string out;
        for (int i = 0; i < n; ++i)
            out += piece;
        return out;
    };
    const std::string fits = repeat("ñ€𝄞", 84) + "ab";  // 254 characters, 758 bytes
    SetRegValue(port, "Accents", fits);
    EXPECT_EQ(GetRegValue("Accents", "", "def").text(), fits);
    SetRegValue(port, "Accents", fits + "é");
    EXPECT_EQ(GetRegValue("Accents", "", "def").text(), "def");
    // Bytes that are not UTF-8 count one each.
    SetRegValue(port, "Bytes", repeat("\xB1", 255));
    EXPECT_EQ(GetRegValue("Bytes", "", "def").text(), "def");
    SetRegValue(port, "Bytes", repeat("\xB1", 254));
    EXPECT_EQ(GetRegValue("Bytes", "", "def").text(), repeat("\xB1", 254));
}

using testing::ReadAll;

std::string RegistryFile() {
    return (std::filesystem::path(QuorvexHome()) / "registry.reg").string();
}

// The notices the stores give, collected instead of printed.
class NoticeCollector {
  public:
    NoticeCollector() {
        SetNoticeHandler([this](const std::string& text) { notices.push_back(text); });
    }
    ~NoticeCollector() { SetNoticeHandler(nullptr); }
    std::vector<std::string> notices;
};

TEST_F(RegistryTest, ReadingNeverWrites) {
    GetRegValue("Nada", "Nueva");
    EXPECT_FALSE(std::filesystem::exists(QuorvexHome()));
    SetRegValue(port, "Active", "/datos/EMP.QVT");
    const std::string before = ReadAll(RegistryFile());
    const auto stamp = std::filesystem::last_write_time(RegistryFile());
    EXPECT_EQ(GetRegValue("Nada", "Nueva").text(), "");
    EXPECT_EQ(GetRegValue("Active").text(), "/datos/EMP.QVT");
    EXPECT_EQ(ReadAll(RegistryFile()), before);
    EXPECT_EQ(std::filesystem::last_write_time(RegistryFile()), stamp);
}

// A file the store cannot understand is read as empty and left as it is; the first write puts
// it aside, under a name that says so, and starts a new one. Both are told.
TEST_F(RegistryTest, ADamagedFileIsReportedAndKeptAside) {
    SetRegValue(port, "Active", "/datos/EMP.QVT");
    const std::string damaged = ReadAll(RegistryFile()) + "basura sin comillas\n";
    std::ofstream(RegistryFile(), std::ios::binary) << damaged;
    NoticeCollector told;
    EXPECT_EQ(GetRegValue("Active").text(), "");
    EXPECT_EQ(GetRegValue("Active").text(), "");
    ASSERT_EQ(told.notices.size(), 1u);  // once per process
    EXPECT_NE(told.notices[0].find("línea 5"), std::string::npos) << told.notices[0];
    EXPECT_EQ(ReadAll(RegistryFile()), damaged);

    SetRegValue(port, "Ultima", "4300000001", "Punteo");
    ASSERT_EQ(told.notices.size(), 2u);
    EXPECT_NE(told.notices[1].find("se ha apartado como"), std::string::npos);
    std::vector<std::string> aside;
    for (const auto& e : std::filesystem::directory_iterator(QuorvexHome()))
        if (e.path().filename().string().rfind("registry.reg.apartado-", 0) == 0)
            aside.push_back(e.path().string());
    ASSERT_EQ(aside.size(), 1u);
    EXPECT_EQ(ReadAll(aside[0]), damaged);
    EXPECT_EQ(GetRegValue("Ultima", "Punteo").text(), "4300000001");
    EXPECT_EQ(GetRegValue("Active").text(), "");

    // A file cut to zeros by a crash is damaged too.
    std::ofstream(RegistryFile(), std::ios::binary) << std::string(64, '\0');
    EXPECT_EQ(GetRegValue("Ultima", "Punteo").text(), "");
}

TEST_F(RegistryTest, AFileThatCannotBeReadIsNotReplaced) {
    if (::geteuid() == 0) GTEST_SKIP() << "root reads every file";
    SetRegValue(port, "Active", "/datos/EMP.QVT");
    ::chmod(RegistryFile().c_str(), 0);
    NoticeCollector told;
    EXPECT_EQ(GetRegValue("Active").text(), "");
    SetRegValue(port, "Ultima", "1", "Punteo");
    ::chmod(RegistryFile().c_str(), 0600);
    EXPECT_EQ(GetRegValue("Ultima", "Punteo").text(), "1");
    ASSERT_EQ(told.notices.size(), 2u);
    EXPECT_NE(told.notices[1].find("apartado"), std::string::npos);
}

TEST_F(RegistryTest, WritesKeepPermissionsAndCleanStaleTemporaries) {
    SetRegValue(port, "Active", "/datos/EMP.QVT");
    namespace fs = std::filesystem;
    EXPECT_EQ(fs::status(RegistryFile()).permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    ::chmod(RegistryFile().c_str(), 0640);
    // What writers killed before their rename left behind.
    for (const char* pid : {"12345", "99999"})
        std::ofstream(RegistryFile() + ".tmp." + pid) << "a medias";
    SetRegValue(port, "Active", "/datos/OTRA.QVT");
    EXPECT_EQ(fs::status(RegistryFile()).permissions(),
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(QuorvexHome()))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"registry.reg", "registry.reg.lock"}));
}

TEST_F(RegistryTest, UnwritableStoreShowsTheAbortMessageAndEnds) {
    // QUORVEX_HOME below a regular file can never be created.
    std::string blocker = home_.file("blocker");
    std::ofstream(blocker) << "x";
    ::setenv("QUORVEX_HOME", (blocker + "/quorvex").c_str(), 1);
    ResetSettingsBackends();
    try {
        SetRegValue(port, "Ultima", "1", "Punteo");
        FAIL() << "the program should have ended";
    } catch (const ProgramEnd& end) {
        EXPECT_NE(end.exitCode, 0);
    }
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "Unable to Create/Open SubKey.\r\nQuorvex will now abort.");
    EXPECT_EQ(StyleButtons(port.messages[0].style), kVbOKOnly);
    // Reading the same store quietly gives the default.
    EXPECT_EQ(GetRegValue("Ultima", "Punteo", "d").text(), "d");
}

TEST_F(RegistryTest, ConcurrentWritersLoseNothing) {
    const int kProcesses = 6, kValues = 25;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            ResetSettingsBackends();
            for (int v = 0; v < kValues; ++v)
                SetRegValue(port, "V" + std::to_string(p) + "_" + std::to_string(v),
                            std::to_string(p * 1000 + v), "Carrera");
            ::_exit(0);
        }
        children.push_back(pid);
    }
    for (pid_t pid : children) {
        int status = 0;
        ::waitpid(pid, &status, 0);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    ResetSettingsBackends();
    for (int p = 0; p < kProcesses; ++p)
        for (int v = 0; v < kValues; ++v)
            EXPECT_EQ(
                GetRegValue("V" + std::to_string(p) + "_" + std::to_string(v), "Carrera").text(),
                std::to_string(p * 1000 + v));
}

using HostOptionsTest = testing::SettingsTest;

TEST_F(HostOptionsTest, KeysIgnoreCaseWithinTheirSection) {
    EXPECT_EQ(GetSetting("Punteo0", "", "1"), "1");
    SaveSetting("Nopunteados", "0", "Punteo");
    EXPECT_EQ(GetSetting("nopunteados", "Punteo", "1"), "0");
    EXPECT_EQ(GetSetting("nopunteados", "", "1"), "1");
    SaveSetting("Punteo0", "X", "");
    SaveSetting("PUNTEO0", "Y", "");
    EXPECT_EQ(GetSetting("punteo0", "", "1"), "Y");
    SaveSetting("Punteo1", "", "");
    EXPECT_EQ(GetSetting("Punteo1", "", "0"), "");  // an empty stored value is a value
}

}  // namespace
}  // namespace pendara
