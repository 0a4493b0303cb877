#include "host/waits.h"

#include <cmath>

#include "host/conversions.h"

namespace pendara {

std::string WaitingMessage(const std::string& file) {
    return "Esperando a que otro puesto libere " + file + "...";
}

std::chrono::milliseconds WaitLimitOf(std::string text) {
    const double seconds = ParseNumber(text);
    if (seconds >= 0 && seconds < 86400)
        return std::chrono::milliseconds(std::llround(seconds * 1000));
    return WaitPolicy{}.limit;
}

}  // namespace pendara
