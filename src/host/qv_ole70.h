#pragma once
// The host accounting server: one company at a time, from OpenCompany to CloseCompany.

#include <cstdint>
#include <memory>
#include <string>

namespace pendara {

// What GetAccountInfo gives: an object whose one operation returns the account's title.
class QvAccountInfo {
  public:
    explicit QvAccountInfo(std::string title) : title_(std::move(title)) {}
    const std::string& Title() const { return title_; }

  private:
    std::string title_;
};

class QvOLE70 {
  public:
    QvOLE70();
    ~QvOLE70();
    QvOLE70(const QvOLE70&) = delete;
    QvOLE70& operator=(const QvOLE70&) = delete;

    // Throws HostError: kErrAccessKey when the company is protected and the key is missing or
    // wrong; another code with a description for any other failure.
    void OpenCompany(const std::string& companyFile, const std::string& accessKey);
    std::string GetCompanyCode();
    std::string GetCompanyFile();
    std::string GetPreviousCompany();  // "" when there is none
    void SelectExercise();
    std::string GetExercise();  // its first two characters are the year label
    bool SelectAccount(const std::string& account, const std::string& a = "",
                       const std::string& b = "");
    std::int32_t HasBalances();
    // Period 0 opening entries (class "A"), 1-12 the months, 13 regularisation ("R"),
    // 14 closing ("C"); credit totals come negative.
    double GetPeriodDebit(std::int16_t one, std::int32_t period);
    double GetPeriodCredit(std::int16_t one, std::int32_t period);
    QvAccountInfo GetAccountInfo(std::int16_t one);
    void CloseCompany();

    bool IsOpen() const;

    struct Impl;

  private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace pendara
