#include "matching/sums.h"

#include <gtest/gtest.h>

#include "host/conversions.h"
#include "support/scripted_port.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

class DoSumasTest : public ::testing::Test {
  protected:
    void Fill(Grid& g, const std::vector<std::pair<std::string, double>>& rows) {
        g.SetRows(static_cast<int>(rows.size()));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            g.SetCell(static_cast<int>(i) + 1, 5, rows[i].first);
            g.SetCell(static_cast<int>(i) + 1, 6, FormatAmount(rows[i].second));
        }
    }
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(DoSumasTest, SumsEachGridAndBalance) {
    Fill(w.SGrid1, {{"RF-3", 100}, {"RF-3  ", 50}, {"RF-4", 7}, {"rf-3", 1}});
    Fill(w.SGrid2, {{"RF-3", -150}});
    DoSumas(w, "  RF-3 ");
    EXPECT_EQ(w.CurrentReference, "RF-3");
    EXPECT_EQ(w.Frame4.caption(), "Sumas por referencia: RF-3");
    EXPECT_EQ(w.Sumas[0].caption(), FormatAmount(150));
    EXPECT_EQ(w.Sumas[1].caption(), FormatAmount(-150));
    EXPECT_EQ(w.Sumas[2].caption(), FormatAmount(0));
}

TEST_F(DoSumasTest, UnknownReferenceShowsZeros) {
    Fill(w.SGrid1, {{"RF-3", 100}});
    DoSumas(w, "RF-9");
    for (const auto& l : w.Sumas)
        EXPECT_EQ(l.caption(), "           0,00");
}

TEST_F(DoSumasTest, BlankReferenceChangesNothingOnTheWindow) {
    Fill(w.SGrid1, {{"RF-3", 100}});
    DoSumas(w, "RF-3");
    DoSumas(w, "   ");
    EXPECT_EQ(w.CurrentReference, "");
    EXPECT_EQ(w.Frame4.caption(), "Sumas por referencia: RF-3");
    EXPECT_EQ(w.Sumas[0].caption(), FormatAmount(100));
}

}  // namespace
}  // namespace pendara
