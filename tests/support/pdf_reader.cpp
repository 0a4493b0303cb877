#include "support/pdf_reader.h"

#include "support/temp_dir.h"

#include <zlib.h>

#include <cctype>

namespace pendara::testing {

namespace {

bool IsDigits(const std::string& s, std::size_t at, std::size_t n) {
    if (at + n > s.size()) return false;
    for (std::size_t i = at; i < at + n; ++i)
        if (!std::isdigit(static_cast<unsigned char>(s[i]))) return false;
    return true;
}

// The unsigned number at `at`, after blanks; `at` moves past it. -1 when there is none.
long long NumberAt(const std::string& s, std::size_t& at) {
    while (at < s.size() && std::isspace(static_cast<unsigned char>(s[at])))
        ++at;
    if (at >= s.size() || !std::isdigit(static_cast<unsigned char>(s[at]))) return -1;
    long long v = 0;
    while (at < s.size() && std::isdigit(static_cast<unsigned char>(s[at])))
        v = v * 10 + (s[at++] - '0');
    return v;
}

// Where `key` stands as a whole name in a dictionary's text.
std::size_t FindKey(const std::string& text, const std::string& key) {
    for (std::size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + 1)) {
        const std::size_t end = at + key.size();
        if (end >= text.size() || text[end] == ' ' || text[end] == '[' || text[end] == '\n' ||
            text[end] == '<' || text[end] == '(')
            return at;
    }
    return std::string::npos;
}

bool Inflate(const std::string& in, std::string& out) {
    z_stream z{};
    if (inflateInit(&z) != Z_OK) return false;
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.data()));
    z.avail_in = static_cast<uInt>(in.size());
    char buf[16384];
    int rc = Z_OK;
    while (rc == Z_OK) {
        z.next_out = reinterpret_cast<Bytef*>(buf);
        z.avail_out = sizeof buf;
        rc = inflate(&z, Z_NO_FLUSH);
        out.append(buf, sizeof buf - z.avail_out);
    }
    inflateEnd(&z);
    return rc == Z_STREAM_END && z.avail_in == 0;
}

}  // namespace

PdfFileView PdfFileView::Read(const std::string& path) {
    PdfFileView v;
    v.bytes = ReadAll(path);
    const std::string& b = v.bytes;

    const std::size_t start = b.rfind("startxref");
    if (start == std::string::npos) return v.error = "no startxref", v;
    std::size_t at = start + 9;
    const long long xref = NumberAt(b, at);
    if (xref < 0 || b.compare(static_cast<std::size_t>(xref), 5, "xref\n") != 0)
        return v.error = "startxref does not point at the table", v;
    at = static_cast<std::size_t>(xref) + 5;
    const long long first = NumberAt(b, at), count = NumberAt(b, at);
    if (first != 0 || count < 1 || b.compare(at, 1, "\n") != 0)
        return v.error = "bad subsection heading", v;
    ++at;
    for (long long i = 0; i < count; ++i, at += 20) {
        // Exactly 20 bytes: ten digits, blank, five digits, blank, kind, two-byte end of line.
        if (!IsDigits(b, at, 10) || b[at + 10] != ' ' || !IsDigits(b, at + 11, 5) ||
            b[at + 16] != ' ' ||
            !(b.compare(at + 18, 2, "\r\n") == 0 || b.compare(at + 18, 2, " \n") == 0))
            return v.error = "bad table line " + std::to_string(i), v;
        const char kind = b[at + 17];
        if (i == 0) {
            if (kind != 'f' || b.compare(at, 16, "0000000000 65535") != 0)
                return v.error = "object 0 is not the free head", v;
            continue;
        }
        if (kind != 'n') return v.error = "object " + std::to_string(i) + " not in use", v;
        v.offsets.push_back(std::stoull(b.substr(at, 10)));
    }
    if (b.compare(at, 7, "trailer") != 0) return v.error = "no trailer after the table", v;
    v.trailer = b.substr(at, start - at);
    std::size_t size = FindKey(v.trailer, "/Size");
    if (size == std::string::npos) return v.error = "no /Size", v;
    size += 5;
    if (NumberAt(v.trailer, size) != count) return v.error = "/Size is not the table's size", v;
    for (std::size_t n = 1; n <= v.offsets.size(); ++n)
        if (b.compare(v.offsets[n - 1], std::to_string(n).size() + 6,
                      std::to_string(n) + " 0 obj") != 0)
            return v.error = "object " + std::to_string(n) + " is not at its offset", v;
    return v;
}

std::string PdfFileView::Object(int number) const {
    if (number < 1 || static_cast<std::size_t>(number) > offsets.size()) return "";
    const std::string head = std::to_string(number) + " 0 obj";
    const std::size_t at = offsets[static_cast<std::size_t>(number) - 1];
    if (bytes.compare(at, head.size(), head) != 0) return "";
    // A stream's data is not text: the object's text stops before it.
    std::size_t end = bytes.find("endobj", at);
    const std::size_t stream = bytes.find("stream", at);
    if (stream < end) end = stream;
    return end == std::string::npos ? "" : bytes.substr(at + head.size(), end - at - head.size());
}

std::string PdfFileView::Stream(int number) const {
    const std::string dict = Object(number);
    std::size_t length = FindKey(dict, "/Length");
    if (length == std::string::npos) return "";
    length += 7;
    const long long n = NumberAt(dict, length);
    const std::size_t at = bytes.find("stream", offsets[static_cast<std::size_t>(number) - 1]);
    std::size_t data = at + 6;
    if (bytes.compare(data, 2, "\r\n") == 0)
        data += 2;
    else if (bytes.compare(data, 1, "\n") == 0)
        data += 1;
    else
        return "";
    const std::size_t end = data + static_cast<std::size_t>(n);
    if (n < 0 || !(bytes.compare(end, 10, "\nendstream") == 0 ||
                   bytes.compare(end, 11, "\r\nendstream") == 0))
        return "";
    const std::string raw = bytes.substr(data, static_cast<std::size_t>(n));
    if (FindKey(dict, "/Filter") == std::string::npos) return raw;
    std::string out;
    return Inflate(raw, out) ? out : "";
}

int PdfFileView::TrailerRef(const std::string& key) const {
    return RefAfter(trailer, key);
}

std::size_t PdfFileView::PageCount() const {
    const std::string pages = Object(RefAfter(Object(TrailerRef("/Root")), "/Pages"));
    std::size_t at = FindKey(pages, "/Count");
    if (at == std::string::npos) return 0;
    at += 6;
    const long long n = NumberAt(pages, at);
    return n < 0 ? 0 : static_cast<std::size_t>(n);
}

int RefAfter(const std::string& dictionary, const std::string& key) {
    std::size_t at = FindKey(dictionary, key);
    if (at == std::string::npos) return 0;
    at += key.size();
    const long long n = NumberAt(dictionary, at), generation = NumberAt(dictionary, at);
    if (n < 0 || generation != 0 || dictionary.compare(at, 2, " R") != 0) return 0;
    return static_cast<int>(n);
}

std::vector<int> RefsIn(const std::string& dictionary, const std::string& key) {
    std::vector<int> refs;
    std::size_t at = FindKey(dictionary, key);
    if (at == std::string::npos) return refs;
    at = dictionary.find('[', at);
    const std::size_t end = dictionary.find(']', at);
    if (at == std::string::npos || end == std::string::npos) return refs;
    ++at;
    for (;;) {
        const long long n = NumberAt(dictionary, at), generation = NumberAt(dictionary, at);
        if (n < 0 || generation != 0 || at > end || dictionary.compare(at, 2, " R") != 0) break;
        refs.push_back(static_cast<int>(n));
        at += 2;
    }
    return refs;
}

}  // namespace pendara::testing
