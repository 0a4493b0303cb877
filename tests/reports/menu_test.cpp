#include "reports/menu.h"

#include <gtest/gtest.h>

#include "host/qv_library.h"
#include "support/scripted_port.h"

namespace pendara {
namespace {

// Captures what the dialog was handed and lets a test edit the values before "accepting".
struct DialogSeen {
    ParameterValues values;
    ParameterKinds kinds;
};

class MenuTest : public ::testing::Test {
  protected:
    // Queues one dialog answer: `edit` changes the values; the result is `accept`.
    void Answer(bool accept, std::function<void(ParameterValues&)> edit = {}) {
        port.QueueParameters(
            [this, accept, edit](const std::string&, ParameterValues& v, const ParameterKinds& k) {
                seen.values = v;
                seen.kinds = k;
                if (edit) edit(v);
                return accept;
            });
    }

    ScriptedPort port;
    QvLibrary lib{port};
    DialogSeen seen;
};

TEST_F(MenuTest, NumericKindsGetANormalisedDefaultOthersGoUnchanged) {
    Menu m(lib);
    m.caption = "Título";
    m.AddItem("comma", 3, 12, "0,01");
    m.AddItem("point", 3, 12, "0.01");
    m.AddItem("check", 30, 1, "1");
    m.AddItem("numeric one", 3, 12, "1");
    m.AddItem("negative", 85, 4, "-0.5");
    m.AddItem("trailing text", 7, 4, " 12abc");
    m.AddItem("text mask", 0, 10, "0.01");
    m.AddItem("date", 5, 8, "01/01/99");
    Answer(true);
    ASSERT_TRUE(m.Show());
    ASSERT_EQ(port.parameterCaptions, std::vector<std::string>{"Título"});
    std::vector<std::string> handed;
    for (const auto& v : seen.values)
        handed.push_back(v[1]);
    EXPECT_EQ(handed,
              (std::vector<std::string>{"0", ".01", "1", "1", "-.5", "12", "0.01", "01/01/99"}));
    EXPECT_EQ(seen.values[0][0], "comma");
    // Length first, kind second.
    EXPECT_EQ(seen.kinds[0], (std::array<std::int16_t, 2>{12, 3}));
    EXPECT_EQ(seen.kinds[2], (std::array<std::int16_t, 2>{1, 30}));
    EXPECT_EQ(seen.kinds[7], (std::array<std::int16_t, 2>{8, 5}));
}

TEST_F(MenuTest, NumberTextIsWrittenWithoutLeadingZero) {
    EXPECT_EQ(MenuNumberText(0.01), ".01");
    EXPECT_EQ(MenuNumberText(-0.25), "-.25");
    EXPECT_EQ(MenuNumberText(12), "12");
    EXPECT_EQ(MenuNumberText(0), "0");
    EXPECT_EQ(MenuNumberText(1234.5), "1234.5");
    EXPECT_EQ(MenuNumberText(-1), "-1");
}

// The dialog reads its numbers from the start of the text: an exponent would read as another
// number, so tiny and huge values are written in plain digits.
TEST_F(MenuTest, NumberTextNeverTakesAnExponent) {
    EXPECT_EQ(MenuNumberText(0.00001), ".00001");
    EXPECT_EQ(MenuNumberText(-0.00001), "-.00001");
    EXPECT_EQ(MenuNumberText(1E15), "1000000000000000");
    for (double v : {0.00001, -0.00001, 1E15, 1.5E20, 0.0001, 123456.789})
        EXPECT_EQ(MenuNumber(MenuValue(MenuNumberText(v))), v) << v;
}

TEST_F(MenuTest, AnswersAreTypedByKind) {
    Menu m(lib);
    m.AddItem("account", 20, 10, "");
    m.AddItem("amount", 3, 12, "0");
    m.AddItem("date ok", 5, 8, "");
    m.AddItem("date bad", 5, 8, "");
    m.AddItem("verbatim", 57, 0, "");
    m.AddItem("output", 71, 0, "");
    m.AddItem("check", 30, 1, "0");
    Answer(true, [](ParameterValues& v) {
        v[0][1] = "4300000001";
        v[1][1] = "12.5x";
        v[2][1] = "29/02/24";
        v[3][1] = "30/02/24";
        v[4][1] = "3 abc";
        v[5][1] = "PDF";
        v[5][0] = "2";  // the choice dialog leaves its number in the label column
        v[6][1] = "1";
    });
    ASSERT_TRUE(m.Show());
    ASSERT_EQ(m.count(), 7);
    EXPECT_EQ(m.GetText(1), "4300000001");
    EXPECT_EQ(MenuNumber(m.GetVal(1)), 4300000001.0);
    EXPECT_EQ(std::get<double>(m.GetVal(2)), 12.5);
    MenuValue third = m.GetVal(3);
    const auto* date = std::get_if<CalendarDate>(&third);
    ASSERT_NE(date, nullptr);
    EXPECT_EQ(date->year, 2024);
    EXPECT_EQ(date->month, 2);
    EXPECT_EQ(date->day, 29);
    EXPECT_EQ(std::get<std::string>(m.GetVal(4)), "");
    EXPECT_EQ(m.GetText(4), "30/02/24");
    EXPECT_EQ(std::get<std::string>(m.GetVal(5)), "3 abc");
    EXPECT_EQ(m.GetText(6), "PDF");
    EXPECT_EQ(std::get<double>(m.GetVal(6)), 2);
    EXPECT_TRUE(MenuTruth(m.GetVal(7)));
}

TEST_F(MenuTest, IndexesWithoutAnswerAreEmpty) {
    Menu m(lib);
    m.AddItem("a", 0, 1, "x");
    EXPECT_EQ(m.count(), 0);
    EXPECT_EQ(m.GetText(1), "");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(m.GetVal(1)));
    Answer(true);
    ASSERT_TRUE(m.Show());
    EXPECT_EQ(m.GetText(1), "x");
    EXPECT_EQ(m.GetText(0), "");
    EXPECT_EQ(m.GetText(2), "");
    EXPECT_EQ(m.GetText(-3), "");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(m.GetVal(2)));
}

TEST_F(MenuTest, CancelKeepsTheAnswersOfAnEarlierAcceptedShow) {
    Menu m(lib);
    m.AddItem("a", 0, 1, "first");
    Answer(false);
    EXPECT_FALSE(m.Show());
    EXPECT_EQ(m.count(), 0);

    Answer(true);
    ASSERT_TRUE(m.Show());
    EXPECT_EQ(m.GetText(1), "first");

    Answer(false, [](ParameterValues& v) { v[0][1] = "changed"; });
    EXPECT_FALSE(m.Show());
    EXPECT_EQ(m.count(), 1);
    EXPECT_EQ(m.GetText(1), "first");

    // An accepted Show replaces all answers, including with items added since.
    m.AddItem("b", 0, 1, "second");
    Answer(true);
    ASSERT_TRUE(m.Show());
    EXPECT_EQ(m.count(), 2);
    EXPECT_EQ(m.GetText(2), "second");
    EXPECT_TRUE(port.AllAnswersUsed());
}

TEST_F(MenuTest, ShowWithoutItemsNeverCallsTheDialog) {
    Menu m(lib);
    m.caption = "Nada";
    EXPECT_FALSE(m.Show());  // the scripted port would throw had the dialog been called
    EXPECT_TRUE(port.parameterCaptions.empty());
}

TEST_F(MenuTest, GetOptionFindsTheFirstChosenOptionItem) {
    Menu m(lib);
    m.AddItem("text", 0, 1, "-1");  // true, but not an option item
    m.AddItem("one", 31, 0, "0");
    m.AddItem("two", 31, 0, "0");
    m.AddItem("three", 31, 0, "0");
    EXPECT_EQ(m.GetOption(), 0);
    Answer(true, [](ParameterValues& v) {
        v[2][1] = "-1";
        v[3][1] = "-1";
    });
    ASSERT_TRUE(m.Show());
    EXPECT_EQ(m.GetOption(), 3);

    Menu none(lib);
    none.AddItem("plain", 30, 1, "1");
    Answer(true);
    ASSERT_TRUE(none.Show());
    EXPECT_EQ(none.GetOption(), 0);

    // "1" is checked for a check box but not the true of an option.
    Menu ones(lib);
    ones.AddItem("option", 31, 0, "1");
    Answer(true);
    ASSERT_TRUE(ones.Show());
    EXPECT_EQ(ones.GetOption(), 0);
}

TEST_F(MenuTest, ClearRemovesItemsButKeepsCaptionAndAnswers) {
    Menu m(lib);
    m.caption = "C";
    m.AddItem("a", 0, 1, "x");
    Answer(true);
    ASSERT_TRUE(m.Show());
    m.Clear();
    EXPECT_TRUE(m.items().empty());
    EXPECT_EQ(m.caption, "C");
    EXPECT_EQ(m.GetText(1), "x");
    EXPECT_FALSE(m.Show());
}

TEST(MenuDate, DayFirstDatesAreCheckedForTheCalendar) {
    CalendarDate d;
    EXPECT_TRUE(ParseMenuDate("1/2/2025", d));
    EXPECT_EQ(d.year, 2025);
    EXPECT_TRUE(ParseMenuDate("31/12/99", d));
    EXPECT_EQ(d.year, 1999);
    EXPECT_TRUE(ParseMenuDate("01-01-59", d));
    EXPECT_EQ(d.year, 2059);
    EXPECT_FALSE(ParseMenuDate("29/02/23", d));
    EXPECT_FALSE(ParseMenuDate("31/04/25", d));
    EXPECT_FALSE(ParseMenuDate("01/13/25", d));
    EXPECT_FALSE(ParseMenuDate("01/01/125", d));
    EXPECT_FALSE(ParseMenuDate("", d));
    EXPECT_FALSE(ParseMenuDate("hoy", d));
}

}  // namespace
}  // namespace pendara
