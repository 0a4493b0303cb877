#pragma once
// Waiting for a file another workstation holds: an entries file being written, the reference
// counter's record in the company file. Both waits follow one policy, one option and one
// message, so the user meets the same notice and the same limit wherever a save waits.

#include <chrono>
#include <functional>
#include <string>

namespace pendara {

// Seconds a write waits for a file another workstation holds (host option, section ""; decimals
// allowed, 0 gives up at once, 30 when not set).
inline constexpr const char* kWaitSetting = "EsperaFicheros";

struct WaitPolicy {
    std::chrono::milliseconds limit{30000};
    std::chrono::milliseconds noticeAfter{2000};
    std::chrono::milliseconds poll{100};
    // Called on every poll once noticeAfter has passed, with the file and the time waited;
    // false gives up at once. Runs on the caller's thread between polls. Without it the waits
    // of the data side say so once through Notice (host/notices.h).
    std::function<bool(const std::string& file, std::chrono::milliseconds waited)> onWait;
};

// "Esperando a que otro puesto libere FICHERO..."
std::string WaitingMessage(const std::string& file);

// The limit the option's text gives: seconds in the Spanish or the C notation, below a day;
// anything else gives the 30 s of an option not set.
std::chrono::milliseconds WaitLimitOf(std::string text);

}  // namespace pendara
