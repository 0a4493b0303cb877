#include "host/gauge.h"

#include <gtest/gtest.h>

#include "host/errors.h"
#include "support/scripted_port.h"
#include "ui/dispatch.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

TEST(Gauge, PercentRoundsHalvesToEvenAndStopsAt100) {
    EXPECT_EQ(Gauge::Percent(1, 3), 33);
    EXPECT_EQ(Gauge::Percent(1, 2), 50);
    EXPECT_EQ(Gauge::Percent(1, 8), 12);  // 12.5
    EXPECT_EQ(Gauge::Percent(3, 8), 38);  // 37.5
    EXPECT_EQ(Gauge::Percent(5, 3), 100);
}

TEST(Gauge, DrawsBarAndCentredTextInTheRightColour) {
    RecordingGauge s(1000, 100);
    Gauge g;
    g.SetSurface(&s);
    g.Update(-1);
    EXPECT_TRUE(s.autoRedraw);
    EXPECT_EQ(s.foreColor, kGaugeTextColour);
    g.Update(1, 3);
    EXPECT_EQ(s.text, "33%");
    EXPECT_EQ(s.textColour, kGaugeTextColour);
    EXPECT_DOUBLE_EQ(s.barWidth, 330);
    EXPECT_EQ(s.barColour, kGaugeBarColour);
    EXPECT_DOUBLE_EQ(s.textX, (1000 - 300) / 2);
    g.Update(1, 2);
    EXPECT_EQ(s.text, "50%");
    EXPECT_EQ(s.textColour, kGaugeTextOnBar);
    g.Update(49, 100);
    EXPECT_EQ(s.textColour, kGaugeTextOnBar);
    g.Update(48, 100);
    EXPECT_EQ(s.textColour, kGaugeTextColour);
    g.Update(7, 3);
    EXPECT_EQ(s.text, "100%");
    EXPECT_DOUBLE_EQ(s.barWidth, 1000);
    // 0 clears whatever the maximum; a value without a maximum does nothing.
    g.Update(0, 5);
    EXPECT_EQ(s.text, "");
    EXPECT_EQ(s.barWidth, 0);
    int clears = s.clears;
    g.Update(3);
    EXPECT_EQ(s.clears, clears);
}

TEST(Dispatch, HostFailureIsShownAndEndsTheProgram) {
    ScriptedPort port;
    Pndra w(port);
    EXPECT_THROW(RunEvent(w, [] { throw HostError(42, "No se puede abrir el fichero X"); }),
                 ProgramEnd);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "No se puede abrir el fichero X");
    int ran = 0;
    RunEvent(w, [&] { ++ran; });
    EXPECT_EQ(ran, 1);
    EXPECT_THROW(RunEvent(w, [] { throw ProgramEnd{3}; }), ProgramEnd);
}

TEST(ScriptedPort, UnqueuedQuestionsFail) {
    ScriptedPort port;
    EXPECT_EQ(port.MsgBox("aviso", kVbOKOnly, ""), kVbOK);
    EXPECT_THROW(port.MsgBox("¿seguro?", 324, "Pendara"), UnexpectedDialog);
    port.QueueMsgBox(kVbYes);
    EXPECT_EQ(port.MsgBox("¿seguro?", 324, "Pendara"), kVbYes);
    EXPECT_THROW(port.InputBox("Clave", "", true), UnexpectedDialog);
    EXPECT_TRUE(port.AllAnswersUsed());
}

}  // namespace
}  // namespace pendara
