// Pages of a report: heading, column titles, body and page number, positioned in points.

#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>

#include "host/report_output.h"
#include "host/utf8.h"

namespace pendara {

namespace {

constexpr double kTitleSize = 14;
constexpr double kCompanySize = 10;
constexpr double kDateSize = 9;
constexpr double kBodySize = 8;
constexpr double kSectionSize = 9;
constexpr double kFooterSize = 7;
constexpr double kLineHeight = 11;
constexpr double kBlankHeight = 5;
constexpr double kColumnGap = 8;
constexpr const char* kEllipsis = "\xE2\x80\xA6";

// The page's number at its foot: "Página n de m".
void NumberPage(LaidPage& page, std::size_t number, std::size_t count, const ReportPageSize& size,
                const ReportTextMeasure& measure) {
    std::string t = "Página " + std::to_string(number) + " de " + std::to_string(count);
    const double w = measure(t, ReportFontStyle::Regular, kFooterSize);
    const double y = size.height - size.margin + 12;
    page.texts.push_back(
        LaidText{(size.width - w) / 2, y, std::move(t), ReportFontStyle::Regular, kFooterSize, w});
}

// Lays the lines out as they are parsed, holding one page at a time: a first pass over the
// lines sizes the columns, a second places them and hands each page over once it is full.
class Layouter {
  public:
    using PageSink = std::function<void(LaidPage&&)>;

    Layouter(const ReportRequest& request, const ReportPageSize& size,
             const ReportTextMeasure& measure)
        : report_(ParseReportColumns(request)), request_(request), measure_(measure) {
        layout_.size = size;
        bodyBottom_ = size.height - size.margin - 10;
        SizeColumns();
    }

    const ReportLayout& Frame() const { return layout_; }

    // Lays every page out and hands it to `sink`, numbered "Página n de `pageCount`" when the
    // count is given (a first run tells it); returns the number of pages.
    std::size_t Run(const PageSink& sink, std::optional<std::size_t> pageCount) {
        sink_ = &sink;
        pageCount_ = pageCount;
        pages_ = 0;
        y_ = 0;
        atTop_ = true;
        section_.clear();
        summaries_.clear();
        NewPage();
        ForEachReportLine(request_, report_.columns.size(), [this](const ReportLine& line) {
            if (line.kind == ReportLineKind::Summary) {
                // Closing lines go on one page: they are placed once the run of them ends.
                summaries_.push_back(line);
                return;
            }
            PlaceSummaries();
            Place(line);
        });
        PlaceSummaries();
        // A selection that lists nothing says so rather than printing a blank page.
        if (!hasContent_)
            Text(layout_.size.margin, y_ + kLineHeight, "Sin datos", ReportFontStyle::Italic,
                 kSectionSize);
        else if (request_.totals)
            PlaceTotals(*request_.totals);
        FinishPage();
        return pages_;
    }

  private:
    double Width(const std::string& t, ReportFontStyle s, double size) const {
        return t.empty() ? 0 : measure_(t, s, size);
    }

    // Cuts a text to a width, ending it in an ellipsis when anything was cut.
    std::string Fit(const std::string& t, ReportFontStyle s, double size, double width) const {
        if (Width(t, s, size) <= width) return t;
        // Ends of the code points, so a cut never splits a character.
        std::vector<std::size_t> ends;
        for (std::size_t i = 0; i < t.size();) {
            i += DecodeUtf8(t, i).bytes;
            ends.push_back(i);
        }
        // The longest prefix that fits with the ellipsis, by bisection.
        std::size_t lo = 0, hi = ends.size();
        while (lo < hi) {
            std::size_t mid = (lo + hi + 1) / 2;
            if (Width(t.substr(0, ends[mid - 1]) + kEllipsis, s, size) <= width)
                lo = mid;
            else
                hi = mid - 1;
        }
        return (lo == 0 ? std::string() : t.substr(0, ends[lo - 1])) + kEllipsis;
    }

    void SizeColumns() {
        const std::size_t n = report_.columns.size();
        const ReportPageSize& size = layout_.size;
        const double available =
            size.width - 2 * size.margin - kColumnGap * static_cast<double>(n > 0 ? n - 1 : 0);
        std::vector<double> need(n, 0);
        for (std::size_t c = 0; c < n; ++c) {
            need[c] = Width(report_.columns[c], ReportFontStyle::Bold, kBodySize);
            if (report_.aligns[c] == ReportAlign::Amount)
                need[c] =
                    std::max(need[c], Width("-999.999.999,99", ReportFontStyle::Bold, kBodySize));
        }
        ForEachReportLine(request_, n, [&](const ReportLine& line) {
            if (line.kind != ReportLineKind::Blank) hasContent_ = true;
            if (line.kind != ReportLineKind::Row && line.kind != ReportLineKind::Summary) return;
            const auto style = line.kind == ReportLineKind::Summary ? ReportFontStyle::Bold
                                                                    : ReportFontStyle::Regular;
            for (std::size_t c = 0; c < n; ++c)
                need[c] = std::max(need[c], Width(line.cells[c], style, kBodySize));
        });
        std::vector<double> width = need;
        const double total = std::accumulate(need.begin(), need.end(), 0.0);
        std::vector<std::size_t> flexible;
        for (std::size_t c = 0; c < n; ++c)
            if (report_.aligns[c] == ReportAlign::Left) flexible.push_back(c);
        if (flexible.empty())
            for (std::size_t c = 0; c < n; ++c)
                flexible.push_back(c);
        if (total <= available && n > 0) {
            // Room to spare goes to the widest text column (the description).
            std::size_t widest =
                *std::max_element(flexible.begin(), flexible.end(),
                                  [&](auto a, auto b) { return need[a] < need[b]; });
            width[widest] += available - total;
        } else if (n > 0) {
            double fixed = 0, flex = 0;
            for (std::size_t c = 0; c < n; ++c)
                (std::find(flexible.begin(), flexible.end(), c) != flexible.end() ? flex : fixed) +=
                    need[c];
            double room = available - fixed;
            if (room < 30.0 * static_cast<double>(flexible.size())) {
                // Even the fixed columns do not fit: shrink everything alike.
                for (double& w : width)
                    w *= available / total;
            } else {
                // Text columns share what is left, each at most what it needs; the long ones
                // give up most.
                std::vector<std::size_t> order = flexible;
                std::sort(order.begin(), order.end(),
                          [&](auto a, auto b) { return need[a] < need[b]; });
                std::size_t left = order.size();
                for (std::size_t c : order) {
                    double share = room / static_cast<double>(left);
                    width[c] = std::min(need[c], share);
                    room -= width[c];
                    --left;
                }
            }
        }
        double x = size.margin;
        for (std::size_t c = 0; c < n; ++c) {
            layout_.columnX.push_back(x);
            layout_.columnWidth.push_back(width[c]);
            x += width[c] + kColumnGap;
        }
    }

    LaidPage& Page() { return page_; }

    void Text(double x, double y, std::string t, ReportFontStyle s, double size) {
        const double w = Width(t, s, size);
        Page().texts.push_back(LaidText{x, y, std::move(t), s, size, w});
    }

    void Rule(double y, double width) {
        const ReportPageSize& size = layout_.size;
        Page().rules.push_back(LaidRule{size.margin, y, size.width - size.margin, y, width});
    }

    // Draws a text in a column by the column's alignment; numbers always stand to the right.
    void Cell(std::size_t c, double y, const std::string& t, ReportFontStyle s, bool numeric) {
        if (t.empty()) return;
        const double x0 = layout_.columnX[c];
        const double w = layout_.columnWidth[c];
        std::string fitted = Fit(t, s, kBodySize, w);
        const double tw = Width(fitted, s, kBodySize);
        ReportAlign a = report_.aligns[c];
        if (numeric) a = ReportAlign::Right;
        double x = x0;
        if (a == ReportAlign::Right || a == ReportAlign::Amount)
            x = x0 + w - tw;
        else if (a == ReportAlign::Centre || a == ReportAlign::Date)
            x = x0 + (w - tw) / 2;
        Text(x, y, std::move(fitted), s, kBodySize);
    }

    // Hands the page laid out over, with its number when the count is known.
    void FinishPage() {
        if (pageCount_) NumberPage(page_, pages_, *pageCount_, layout_.size, measure_);
        (*sink_)(std::move(page_));
        page_ = LaidPage{};
    }

    void NewPage() {
        if (pages_ > 0) FinishPage();
        ++pages_;
        const ReportPageSize& size = layout_.size;
        const double right = size.width - size.margin;
        const double textWidth = size.width - 2 * size.margin;
        double y = size.margin + kTitleSize;
        const std::string date = request_.date.empty() ? "" : "Fecha: " + request_.date;
        const double dateWidth = Width(date, ReportFontStyle::Regular, kDateSize);
        Text(size.margin, y,
             Fit(request_.title, ReportFontStyle::Bold, kTitleSize, textWidth - dateWidth - 12),
             ReportFontStyle::Bold, kTitleSize);
        if (!date.empty()) Text(right - dateWidth, y, date, ReportFontStyle::Regular, kDateSize);
        y += kCompanySize + 6;
        const std::string company = CompanyHeading(request_);
        if (!company.empty())
            Text(size.margin, y, Fit(company, ReportFontStyle::Regular, kCompanySize, textWidth),
                 ReportFontStyle::Regular, kCompanySize);
        y += 7;
        Rule(y, 1);
        y += kLineHeight + 2;
        if (pages_ == 1 && !request_.criteria.empty()) {
            // The selection the report was made with, once, on the first page.
            Text(size.margin, y, kCriteriaHeading, ReportFontStyle::Bold, kBodySize);
            y += kLineHeight;
            y = LabelledLines(request_.criteria, y, ReportFontStyle::Regular);
            y += kBlankHeight + kLineHeight;
        }
        for (std::size_t c = 0; c < report_.columns.size(); ++c)
            Cell(c, y, report_.columns[c], ReportFontStyle::Bold, false);
        y += 4;
        Rule(y, 0.5);
        y_ = y + kLineHeight;
        atTop_ = true;
    }

    // Label and value lines, labels in a column of their own; returns the y below them.
    double LabelledLines(const std::vector<ReportCriterion>& lines, double y,
                         ReportFontStyle valueStyle) {
        const ReportPageSize& size = layout_.size;
        double labelWidth = 0;
        for (const ReportCriterion& c : lines)
            labelWidth =
                std::max(labelWidth, Width(c.label + ":", ReportFontStyle::Regular, kBodySize));
        labelWidth = std::min(labelWidth, (size.width - 2 * size.margin) / 2);
        const double valueX = size.margin + 12 + labelWidth + kColumnGap;
        for (const ReportCriterion& c : lines) {
            Text(size.margin + 12, y,
                 Fit(c.label + ":", ReportFontStyle::Regular, kBodySize, labelWidth),
                 ReportFontStyle::Regular, kBodySize);
            Text(valueX, y, Fit(c.value, valueStyle, kBodySize, size.width - size.margin - valueX),
                 valueStyle, kBodySize);
            y += kLineHeight;
        }
        return y;
    }

    // The closing block, kept on one page; amounts in the last amount column.
    void PlaceTotals(const ReportTotals& totals) {
        const std::vector<ReportCriterion> lines = TotalsLines(totals);
        section_.clear();
        Need(kLineHeight * static_cast<double>(lines.size() + 1) + 8);
        const ReportPageSize& size = layout_.size;
        y_ += 8;
        Page().rules.push_back(LaidRule{size.margin, y_ - kLineHeight + 2, size.width - size.margin,
                                        y_ - kLineHeight + 2, 1});
        Text(size.margin, y_, kTotalsHeading, ReportFontStyle::Bold, kSectionSize);
        y_ += kLineHeight + 2;
        std::size_t amountColumn = report_.columns.size();
        for (std::size_t c = 0; c < report_.aligns.size(); ++c)
            if (report_.aligns[c] == ReportAlign::Amount) amountColumn = c;
        for (const ReportCriterion& line : lines) {
            Text(size.margin + 12, y_, line.label, ReportFontStyle::Bold, kBodySize);
            if (amountColumn < report_.columns.size()) {
                Cell(amountColumn, y_, line.value, ReportFontStyle::Bold, true);
            } else {
                const double w = Width(line.value, ReportFontStyle::Bold, kBodySize);
                Text(size.width - size.margin - w, y_, line.value, ReportFontStyle::Bold,
                     kBodySize);
            }
            y_ += kLineHeight;
        }
    }

    bool Fits(double height) const { return y_ + height <= bodyBottom_ + kLineHeight; }

    // Starts a new page when `height` more points do not fit; a section that continues gets
    // its heading repeated.
    void Need(double height) {
        if (Fits(height)) return;
        NewPage();
        if (!section_.empty()) {
            Text(layout_.size.margin, y_,
                 Fit(section_ + " (continuación)", ReportFontStyle::Italic, kSectionSize,
                     layout_.size.width - 2 * layout_.size.margin),
                 ReportFontStyle::Italic, kSectionSize);
            y_ += kLineHeight + 2;
        }
    }

    // The closing lines that follow one another (an account's totals) go on one page.
    void PlaceSummaries() {
        for (std::size_t i = 0; i < summaries_.size(); ++i) {
            Need(i == 0 ? kLineHeight * static_cast<double>(summaries_.size()) : kLineHeight);
            PlaceCells(summaries_[i]);
        }
        summaries_.clear();
    }

    void PlaceCells(const ReportLine& line) {
        const auto style =
            line.kind == ReportLineKind::Summary ? ReportFontStyle::Bold : ReportFontStyle::Regular;
        for (std::size_t c = 0; c < line.cells.size(); ++c)
            Cell(c, y_, line.cells[c], style, IsNumericCell(report_, line, c));
        y_ += kLineHeight;
        atTop_ = false;
    }

    void Place(const ReportLine& line) {
        const ReportPageSize& size = layout_.size;
        switch (line.kind) {
            case ReportLineKind::Blank:
                if (atTop_) return;
                y_ += kBlankHeight;
                return;
            case ReportLineKind::Section: {
                section_.clear();
                // A heading keeps at least two lines of its account with it.
                Need(kLineHeight * 3 + 4);
                if (!atTop_) y_ += 4;
                Text(size.margin, y_,
                     Fit(line.heading, ReportFontStyle::Bold, kSectionSize,
                         size.width - 2 * size.margin),
                     ReportFontStyle::Bold, kSectionSize);
                Page().rules.push_back(
                    LaidRule{size.margin, y_ + 3, size.width - size.margin, y_ + 3, 0.3});
                y_ += kLineHeight + 3;
                section_ = line.heading;
                break;
            }
            case ReportLineKind::SubSection:
                Need(kLineHeight * 2);
                Text(size.margin + 6, y_,
                     Fit(line.heading, ReportFontStyle::Italic, kBodySize,
                         size.width - 2 * size.margin - 6),
                     ReportFontStyle::Italic, kBodySize);
                y_ += kLineHeight;
                break;
            case ReportLineKind::Row:
            case ReportLineKind::Summary:
                Need(kLineHeight);
                PlaceCells(line);
                return;
        }
        atTop_ = false;
    }

    ParsedReport report_;  // the columns alone
    const ReportRequest& request_;
    const ReportTextMeasure& measure_;
    ReportLayout layout_;  // the page size and the columns; the pages go to the sink
    const PageSink* sink_ = nullptr;
    std::optional<std::size_t> pageCount_;
    std::size_t pages_ = 0;
    LaidPage page_;
    std::vector<ReportLine> summaries_;  // a run of closing lines not placed yet
    bool hasContent_ = false;
    double y_ = 0;
    double bodyBottom_ = 0;
    bool atTop_ = true;
    std::string section_;
};

}  // namespace

double ApproximateTextWidth(const std::string& text, ReportFontStyle style, double size) {
    double units = 0;
    for (std::size_t i = 0; i < text.size(); i += DecodeUtf8(text, i).bytes) {
        char c = text[i];
        if (c == ' ' || c == '.' || c == ',' || c == 'i' || c == 'l' || c == 'j' || c == '\'')
            units += 278;
        else if (c >= '0' && c <= '9')
            units += 556;
        else if (c >= 'A' && c <= 'Z')
            units += 667;
        else
            units += 500;
    }
    if (style == ReportFontStyle::Bold) units *= 1.06;
    return units * size / 1000;
}

ReportLayout LayoutReport(const ReportRequest& request, const ReportPageSize& size,
                          const ReportTextMeasure& measure) {
    Layouter layouter(request, size, measure);
    ReportLayout layout = layouter.Frame();
    const std::size_t count = layouter.Run(
        [&layout](LaidPage&& page) { layout.pages.push_back(std::move(page)); }, std::nullopt);
    for (std::size_t p = 0; p < count; ++p)
        NumberPage(layout.pages[p], p + 1, count, layout.size, measure);
    return layout;
}

std::size_t ForEachReportPage(
    const ReportRequest& request, const ReportPageSize& size, const ReportTextMeasure& measure,
    const std::function<void(const ReportLayout& frame, LaidPage&& page)>& visit) {
    Layouter layouter(request, size, measure);
    // A first run only counts the pages, so that each can say "Página n de m" as it is made.
    const std::size_t count = layouter.Run([](LaidPage&&) {}, std::nullopt);
    layouter.Run([&](LaidPage&& page) { visit(layouter.Frame(), std::move(page)); }, count);
    return count;
}

}  // namespace pendara
