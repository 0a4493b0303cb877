#pragma once
// A temporary folder for one test, removed afterwards; and a fixture that points the settings
// stores (QUORVEX_HOME) at one.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "host/settings.h"

namespace pendara::testing {

class TempDir {
  public:
    TempDir() {
        std::string tmpl =
            (std::filesystem::temp_directory_path() / "pendara-test-XXXXXX").string();
        char* made = ::mkdtemp(tmpl.data());
        if (!made) throw std::runtime_error("mkdtemp failed");
        path_ = made;
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string str() const { return path_.string(); }
    // A path inside the folder, as text.
    std::string file(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

// A file's whole content, byte for byte ("" when it cannot be read).
inline std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// Each test gets empty settings stores in a folder of its own.
class SettingsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ::setenv("QUORVEX_HOME", (home_.path() / "quorvex").c_str(), 1);
        ResetSettingsBackends();
    }
    void TearDown() override {
        ResetSettingsBackends();
        ::unsetenv("QUORVEX_HOME");
    }
    TempDir home_;
};

}  // namespace pendara::testing
