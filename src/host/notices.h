#pragma once
// Notices of the data side that are no failure: a wait for another workstation's lock, a damaged
// settings file kept aside. The command line prints them on standard error (the default); the
// window may show them its own way.

#include <functional>
#include <string>

namespace pendara {

using NoticeHandler = std::function<void(const std::string& text)>;

// Installs the handler; an empty one restores the default (a line on standard error).
void SetNoticeHandler(NoticeHandler handler);
void Notice(const std::string& text);

}  // namespace pendara
