#include "companies/session.h"

#include "host/qv_library.h"
#include "matching/references.h"

namespace pendara {

Session::Session(DesktopPort& p) : port(p) {}

Session::~Session() = default;

ReferenceCounter& Session::Counter() {
    if (counter_) return *counter_;
    if (!chainCounter_) chainCounter_ = std::make_unique<ChainCounter>(*this);
    return *chainCounter_;
}

QvLibrary& Session::Lib() {
    if (!library_) library_ = std::make_unique<QvLibrary>(port);
    return *library_;
}

}  // namespace pendara
