#include "host/notices.h"

#include <cstdio>
#include <mutex>

namespace pendara {

namespace {
std::mutex handlerMutex;
NoticeHandler handler;
}  // namespace

void SetNoticeHandler(NoticeHandler h) {
    std::lock_guard<std::mutex> lock(handlerMutex);
    handler = std::move(h);
}

void Notice(const std::string& text) {
    NoticeHandler h;
    {
        std::lock_guard<std::mutex> lock(handlerMutex);
        h = handler;
    }
    if (h) {
        h(text);
        return;
    }
    std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
}

}  // namespace pendara
