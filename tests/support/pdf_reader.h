#pragma once
// Reads the PDF files the program writes back the way a viewer finds its way in them: from
// "startxref" to the cross-reference table, and from there to each object by its byte offset.
// Only what those files use: one table, uncompressed objects, deflated streams.

#include <cstdint>
#include <string>
#include <vector>

namespace pendara::testing {

struct PdfFileView {
    std::string bytes;
    std::vector<std::uint64_t> offsets;  // object n at offsets[n - 1]
    std::string trailer;                 // the trailer dictionary's text
    std::string error;                   // what is wrong with the table ("" when it is sound)

    static PdfFileView Read(const std::string& path);

    // The text between "n 0 obj" and "endobj" ("" when the offset does not point at the object).
    std::string Object(int number) const;
    // The data of a stream object: /Length bytes after "stream", inflated when deflated; "" when
    // the length does not end at "endstream" or the data does not inflate.
    std::string Stream(int number) const;
    int TrailerRef(const std::string& key) const;
    std::size_t PageCount() const;
};

// The object number of the reference "n 0 R" that follows `key` in a dictionary's text; 0 when
// there is none.
int RefAfter(const std::string& dictionary, const std::string& key);
// Every reference of the array that follows `key`.
std::vector<int> RefsIn(const std::string& dictionary, const std::string& key);

}  // namespace pendara::testing
