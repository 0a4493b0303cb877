#pragma once
// What a host call that must fail threw.

#include <cstdint>
#include <functional>
#include <string>

#include "host/errors.h"

namespace pendara::testing {

// The description of the HostError that `f` throws; "" when it throws none.
inline std::string ErrorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const HostError& e) {
        return e.description();
    }
    return "";
}

// The code of the HostError that `f` throws; 0 when it throws none.
inline std::int64_t ErrorCodeOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const HostError& e) {
        return e.code();
    }
    return 0;
}

}  // namespace pendara::testing
