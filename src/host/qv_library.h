#pragma once
// The host's process-wide library: the option store, a few dialogs (through the desktop port),
// the folder of a company and the report output.

#include <cstdint>
#include <string>

#include "host/desktop_port.h"
#include "host/report_output.h"

namespace pendara {

class QvLibrary {
  public:
    explicit QvLibrary(DesktopPort& port) : port_(port) {}

    // The option store (keys without regard to case); the fourth text is always empty.
    std::string GetSetting(const std::string& key, const std::string& section,
                           const std::string& def, const std::string& extra = "");
    void SaveSetting(const std::string& key, const std::string& value, const std::string& section,
                     const std::string& extra = "");

    // The folder that holds the company's data files, with a trailing separator.
    std::string GetCompanyDirs(const std::string& companyFile);

    // A modal input box (the access-key prompt: what is typed is hidden); "" when cancelled.
    std::string InputText(const std::string& prompt, std::int16_t a = 21, std::int16_t b = 4,
                          const std::string& s1 = "", const std::string& s2 = "",
                          std::int32_t c = 0);

    // The account look-up dialog over the company's chart of accounts; "" when nothing chosen.
    std::string SelectAccountDialog(const std::string& companyFile, const std::string& folder,
                                    const std::string& code, std::int32_t a = 1, std::int32_t b = 2,
                                    const std::string& s = "", std::int32_t c = 1);

    // The key filter of account boxes (`boxText`: what the box holds): digits and editing keys
    // pass, others become 0.
    void AccountKeyPress(const std::string& boxText, std::int32_t a, std::int32_t b,
                         std::int32_t& key);

    // The generic parameter dialog (see Menu).
    bool ParameterDialog(const std::string& caption, ParameterValues& values,
                         const ParameterKinds& kinds, const std::string& companyFile = "");

    // Report output: renders the report text to the destination and says what came of it.
    ReportOutcome PrintReport(std::int32_t& destination, const std::string& title,
                              const std::string& text, const std::string& date,
                              const std::string& columns, const std::string& alignments,
                              const std::string& empty1, const std::string& companyName,
                              std::int32_t& one, const std::string& empty2);
    // The same with what the program adds to the heading, criteria and totals.
    ReportOutcome PrintReport(const ReportRequest& request);

    DesktopPort& port() { return port_; }

  private:
    DesktopPort& port_;
};

}  // namespace pendara
