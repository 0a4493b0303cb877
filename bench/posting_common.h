#pragma once
// A scratch folder with its own settings stores for the posting benchmarks.

#include <stdlib.h>

#include <filesystem>
#include <string>

#include "host/settings.h"

namespace pendara::bench {

class Scratch {
  public:
    Scratch() {
        std::string tmpl =
            (std::filesystem::temp_directory_path() / "pendara-bench-XXXXXX").string();
        path_ = ::mkdtemp(tmpl.data());
        ::setenv("QUORVEX_HOME", (path_ / "home").c_str(), 1);
        ResetSettingsBackends();
    }
    ~Scratch() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
        ResetSettingsBackends();
    }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

}  // namespace pendara::bench
