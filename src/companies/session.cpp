#include "companies/session.h"

#include "host/qv_library.h"

namespace pendara {

Session::Session(DesktopPort& p) : port(p) {}

Session::~Session() = default;

QvLibrary& Session::Lib() {
    if (!library_) library_ = std::make_unique<QvLibrary>(port);
    return *library_;
}

}  // namespace pendara
