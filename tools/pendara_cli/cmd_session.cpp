#include "cmd_session.h"

#include <csignal>
#include <iostream>

#include "companies/account_list.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/settings.h"
#include "ui/dispatch.h"
#include "ui/main_window.h"

namespace pendara::cli {

namespace {

std::atomic<bool> interrupted{false};

extern "C" void OnInterrupt(int) {
    interrupted.store(true);
    // A second Ctrl-C ends the program at once.
    std::signal(SIGINT, SIG_DFL);
}

void PrintGrid(std::ostream& out, const Grid& grid, const char* side) {
    for (int r = 1; r <= grid.Rows(); ++r) {
        bool blank = true;
        for (int c = 1; c <= grid.Cols() && blank; ++c)
            blank = grid.Cell(r, c).empty();
        if (blank) continue;
        out << side;
        for (int c = 1; c <= grid.Cols(); ++c)
            out << '\t' << grid.Cell(r, c);
        out << '\n';
    }
}

}  // namespace

Session::Session(bool assumeYes, std::string commandLine)
    : port_(std::cout, std::cerr, assumeYes), window_(std::make_unique<Pndra>(port_)) {
    window_->CommandLine = std::move(commandLine);
    ReportNotices(*window_, port_, std::cerr);
}

void ReportNotices(Pndra& w, DesktopPort& port, std::ostream& err) {
    w.AvisoPunteo.onChange = [&w, &port, &err] {
        if (w.AvisoPunteo.caption().empty()) return;
        port.Gauge().Cls();
        err << w.AvisoPunteo.caption() << '\n';
    };
}

void Session::Load() {
    if (Trim(GetRegValue("Active").text()).empty())
        throw HostError("no hay empresa activa: el valor \"Active\" del registro está vacío en " +
                        QuorvexHome() +
                        " (cree una con \"qvdata demo CARPETA\" o márquela con qvdata)");
    Event([this] { Form_Load(*window_); });
}

void Session::Event(const std::function<void()>& handler) {
    RunEvent(*window_, handler);
}

void Session::FillList(const std::string& mask, bool pending) {
    Event([&] {
        Pndra& w = *window_;
        w.Text1.setText(mask);
        // Carga_cuentas flips the kind before it fills.
        w.PendingOnly = pending;
        bool mode = false;
        Carga_cuentas(w, mode);
    });
}

int Session::FindAccount(const std::string& account) {
    const std::string code = Trim(account);
    if (code.empty()) throw HostError("falta la cuenta");
    FillList(code, false);
    const Pndra& w = *window_;
    for (int i = 0; i < w.List2.ListCount(); ++i) {
        const std::string& entry = w.List2.List(i);
        if (entry.substr(0, entry.find(' ')) == code) return i;
    }
    throw HostError("la cuenta " + code +
                    " no está entre las cuentas de detalle de la empresa activa");
}

void Session::SelectAccount(const std::string& account) {
    const int i = FindAccount(account);
    Event([&] { window_->List2.SetListIndex(i); });
}

void Session::SelectAccountQuietly(const std::string& account) {
    const int i = FindAccount(account);
    auto click = std::move(window_->List2.onClick);
    window_->List2.onClick = nullptr;
    window_->List2.SetListIndex(i);
    window_->List2.onClick = std::move(click);
}

void Session::LabelProgressWithAccount() {
    auto* bar = dynamic_cast<ConsoleGauge*>(&port_.Gauge());
    if (!bar) return;
    Pndra& w = *window_;
    auto click = std::move(w.List2.onClick);
    w.List2.onClick = [&w, bar, click] {
        const std::string& entry = w.List2.List(w.List2.ListIndex());
        bar->SetLabel("(" + std::to_string(w.List2.ListIndex() + 1) + ") " +
                      entry.substr(0, entry.find(' ')));
        if (click) click();
    };
}

void Session::StopOnInterrupt() {
    interrupted.store(false);
    std::signal(SIGINT, OnInterrupt);
    port_.onDoEvents = [this] {
        if (interrupted.exchange(false)) {
            std::cerr << "\nParada pedida: se termina la cuenta en curso.\n";
            window_->StopRequested = true;
        }
    };
}

void PrintGrids(std::ostream& out, const Pndra& w) {
    PrintGrid(out, w.SGrid1, "1");
    PrintGrid(out, w.SGrid2, "2");
    out << "newref\t" << w.newref.text() << '\n';
}

void PrintList(std::ostream& out, const Pndra& w) {
    for (int i = 0; i < w.List2.ListCount(); ++i)
        out << w.List2.List(i) << '\n';
}

}  // namespace pendara::cli
