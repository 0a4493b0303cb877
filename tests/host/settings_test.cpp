#include "host/settings.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "host/errors.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"

namespace pendara {
namespace {

using RegistryTest = testing::SettingsTest;

TEST_F(RegistryTest, MissingAndBlankValuesReadAsTheDefault) {
    ScriptedPort port;
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
    ScriptedPort port;
    SetRegValue(port, "Active", "/data/EMP01.QVT");
    SetRegValue(port, "Ultima", "4300000138", "Punteo");
    EXPECT_EQ(GetRegValue("active").text(), "/data/EMP01.QVT");
    EXPECT_EQ(GetRegValue("Active", "Punteo").text(), "");
    EXPECT_EQ(GetRegValue("ULTIMA", "punteo").text(), "4300000138");
    // The default section is "Settings".
    EXPECT_EQ(GetRegValue("Active", "Settings").text(), "/data/EMP01.QVT");
}

TEST_F(RegistryTest, BooleansAreExactSpanishTexts) {
    ScriptedPort port;
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
    ScriptedPort port;
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
    ScriptedPort port;
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

TEST_F(RegistryTest, ReadingCreatesTheSectionKey) {
    GetRegValue("Nada", "Nueva");
    std::ifstream in(std::filesystem::path(QuorvexHome()) / "registry.reg");
    std::string text((std::istreambuf_iterator<char>(in)), {});
    EXPECT_NE(text.find("[HKEY_CURRENT_USER\\SOFTWARE\\Dorat\\Quorvex\\Nueva\\]"),
              std::string::npos);
}

TEST_F(RegistryTest, UnwritableStoreShowsTheAbortMessageAndEnds) {
    // QUORVEX_HOME below a regular file can never be created.
    std::string blocker = home_.file("blocker");
    std::ofstream(blocker) << "x";
    ::setenv("QUORVEX_HOME", (blocker + "/quorvex").c_str(), 1);
    ResetSettingsBackends();
    ScriptedPort port;
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
            ScriptedPort port;
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
