#pragma once
// The Spanish regional settings of the program's users, switched on as the desktop toolkit does
// at start (setlocale from the environment), for the length of one scope.

#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

namespace pendara::testing {

inline constexpr const char* kSpanishLocale = "es_ES.UTF-8";

class SpanishLocale {
  public:
    SpanishLocale() {
        if (const char* v = std::getenv("LC_ALL")) savedEnv_ = v;
        if (const char* l = std::setlocale(LC_ALL, nullptr)) savedLocale_ = l;
        ::setenv("LC_ALL", kSpanishLocale, 1);
        active_ = std::setlocale(LC_ALL, "") != nullptr &&
                  std::string(std::localeconv()->decimal_point) == ",";
    }
    ~SpanishLocale() {
        if (savedEnv_)
            ::setenv("LC_ALL", savedEnv_->c_str(), 1);
        else
            ::unsetenv("LC_ALL");
        std::setlocale(LC_ALL, savedLocale_.c_str());
    }
    SpanishLocale(const SpanishLocale&) = delete;
    SpanishLocale& operator=(const SpanishLocale&) = delete;

    // False when the machine lacks the locale (scripts/setup.sh generates it).
    bool active() const { return active_; }

  private:
    std::optional<std::string> savedEnv_;
    std::string savedLocale_ = "C";
    bool active_ = false;
};

}  // namespace pendara::testing
