#pragma once
// A cursor over one data file of one company (an entries file "extra<CC>.qvd" or a chart of
// accounts "Planc<CC>.qvd"), kept in SQLite. Values come back as texts: numbers in Spanish form
// with a decimal comma (ValueText), dates as dd/mm/yy.
//
// A cursor that changes records holds one write transaction from its first Edit to CloseFile:
// a failure, or a cursor destroyed without CloseFile, leaves the file as it was.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace pendara {

class QvFileControl2 {
  public:
    QvFileControl2();
    ~QvFileControl2();  // an open cursor with unsaved changes rolls them back
    QvFileControl2(const QvFileControl2&) = delete;
    QvFileControl2& operator=(const QvFileControl2&) = delete;

    void OpenFile(const std::string& path, const std::string& password, std::int32_t& status);
    void OpenFile(const std::string& path, const std::string& password = "");
    // Conditions joined by " and ": field, operator ("=", "=>", "<=", "like"), value.
    void SetFilter(const std::string& expression);
    void SetOrder(const std::string& fieldName);  // "cuenta" or "fecha"
    void MoveFirst();
    bool IsEof() const;
    void MoveNext();
    std::int32_t GetRecNo() const;
    void GoToRecord(std::int32_t recordNumber);
    std::string GetField(std::int32_t number, std::int32_t element = 0) const;
    // The text GetField gives, without copying a text field out of the file: valid until the
    // cursor moves, changes a record or closes. For a long scan that reads many fields per record.
    std::string_view GetFieldView(std::int32_t number, std::int32_t element = 0) const;
    std::string GetFieldByName(const std::string& name) const;
    double SumField(const std::string& name);
    std::int32_t GetRecordCount();
    // Reads from here on see the file as it is now, in one read transaction that lasts until
    // ReleaseRead, CloseFile or the first Edit: a run of many small look-ups then takes the
    // file's read lock once instead of once per look-up. Hold it only while reading: under a
    // rollback journal it keeps other programs from writing the file. After ReleaseRead a
    // cursor that stood on a record stands on none until MoveFirst or GoToRecord.
    void HoldRead();
    void ReleaseRead();
    void Edit();
    void PutField(std::int32_t number, std::int32_t element, const std::string& value);
    void PutFieldByName(const std::string& name, const std::string& value);
    void Update();
    void CloseFile();

    bool IsOpen() const;

    // Of an entries file, per account that has entries (the filter plays no part): the sum of
    // "Importe" as SumField gives it under the filter "Cuenta = " & account (the same entries
    // added in the same order), and whether one entry is neither referenced ("RF-" anywhere in
    // "Referencia punteo", in any case) nor ticked (a "Marca" whose leading number is 0). One
    // query over the whole file; the search for an open entry stops at the account's first one.
    struct AccountSummary {
        double sum = 0;
        bool open = false;
    };
    std::unordered_map<std::string, AccountSummary> AccountSummaries();

    struct Impl;

  private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace pendara
