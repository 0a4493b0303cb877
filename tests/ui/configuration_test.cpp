#include "ui/configuration.h"

#include <gtest/gtest.h>

#include <optional>

#include "host/settings.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

class ConfigurationTest : public testing::SettingsTest {
  protected:
    // Answers the dialog with three texts (or cancels) and keeps what it was handed.
    void Answer(bool accept, std::string correct = "", std::string wrong = "",
                std::string forced = "", std::optional<std::string> enhanced = std::nullopt) {
        port.QueueParameters(
            [=, this](const std::string& caption, ParameterValues& v, const ParameterKinds& k) {
                this->caption = caption;
                values = v;
                kinds = k;
                v[0][1] = correct;
                v[1][1] = wrong;
                v[2][1] = forced;
                if (enhanced) v[3][1] = *enhanced;
                return accept;
            });
    }
    std::optional<std::string> Stored(const std::string& key) {
        return HostOptions().Query("", key);
    }

    ScriptedPort port;
    Pndra w{port};
    std::string caption;
    ParameterValues values;
    ParameterKinds kinds;
};

TEST_F(ConfigurationTest, OpensWithTheDefaultsWhenNothingIsStored) {
    Answer(false);
    ConfigurarPunteo(w);
    EXPECT_EQ(caption, "Configuración de Punteo");
    ASSERT_EQ(values.size(), 4u);
    EXPECT_EQ(values[0], (std::array<std::string, 2>{"Punteo Correcto", ""}));
    EXPECT_EQ(values[1], (std::array<std::string, 2>{"Punteo Incorrecto", ""}));
    EXPECT_EQ(values[2], (std::array<std::string, 2>{"Forzar Punteo cuando saldo sea 0", "0"}));
    // The marks travel in the length: correct 1, incorrect 0.
    EXPECT_EQ(kinds[0], (std::array<std::int16_t, 2>{1, 61}));
    EXPECT_EQ(kinds[1], (std::array<std::int16_t, 2>{0, 61}));
    EXPECT_EQ(kinds[2], (std::array<std::int16_t, 2>{1, 30}));
    // The enhanced mode comes last, as a check box that starts cleared.
    EXPECT_EQ(values[3][0], "Punteo mejorado (números de factura y sumas exactas)");
    EXPECT_EQ(values[3][1], "0");
    EXPECT_EQ(kinds[3], (std::array<std::int16_t, 2>{1, 30}));
}

TEST_F(ConfigurationTest, TheEnhancedModeIsOfferedAndStoredAsOneOrZero) {
    SaveSetting("PunteoMejorado", "1", "");
    Answer(false);
    ConfigurarPunteo(w);
    EXPECT_EQ(values[3][1], "1");
    Answer(true, "1", "0", "0", "1");
    ConfigurarPunteo(w);
    EXPECT_EQ(Stored("PunteoMejorado"), "1");
    Answer(true, "1", "0", "0", "-1");
    ConfigurarPunteo(w);
    EXPECT_EQ(Stored("PunteoMejorado"), "0");
    // Any stored text but "1" is off.
    SaveSetting("PunteoMejorado", "2", "");
    Answer(false);
    ConfigurarPunteo(w);
    EXPECT_EQ(values[3][1], "0");
}

TEST_F(ConfigurationTest, StoredValuesAreOfferedAgain) {
    SaveSetting("Punteo0", "7", "");
    SaveSetting("Punteo1", "3", "");
    SaveSetting("punteo2", "1", "");  // keys compare without regard to case
    Answer(false);
    ConfigurarPunteo(w);
    EXPECT_EQ(kinds[0][0], 7);
    EXPECT_EQ(kinds[1][0], 3);
    EXPECT_EQ(values[2][1], "1");
}

TEST_F(ConfigurationTest, AcceptingStoresFirstCharactersAndTheCheckBox) {
    Answer(true, "23", "ñu", "1");
    ConfigurarPunteo(w);
    EXPECT_EQ(Stored("Punteo0"), "2");
    EXPECT_EQ(Stored("Punteo1"), "ñ");
    EXPECT_EQ(Stored("Punteo2"), "1");
}

TEST_F(ConfigurationTest, AMarkIsOneWholeCharacter) {
    const std::pair<const char*, const char*> cases[] = {{"€x", "€"},
                                                         {"𝄞1", "𝄞"},
                                                         {"éa", "é"},
                                                         {"\xFF"
                                                          "ab",
                                                          "\xFF"},
                                                         {"\xC3"
                                                          "x",
                                                          "\xC3"}};
    for (const auto& [answer, mark] : cases) {
        Answer(true, answer, answer, "0");
        ConfigurarPunteo(w);
        EXPECT_EQ(Stored("Punteo0"), mark) << answer;
        EXPECT_EQ(Stored("Punteo1"), mark) << answer;
    }
}

TEST_F(ConfigurationTest, TheCheckBoxCountsOnlyWhenExactlyOne) {
    for (const char* answer : {"1 ", "-1", "01", "", "2"}) {
        SaveSetting("Punteo2", "1", "");
        Answer(true, "1", "0", answer);
        ConfigurarPunteo(w);
        EXPECT_EQ(Stored("Punteo2"), "0") << "answer '" << answer << "'";
    }
}

TEST_F(ConfigurationTest, AnEmptyMarkAnswerStoresTheEmptyText) {
    Answer(true, "", "0", "0");
    ConfigurarPunteo(w);
    EXPECT_EQ(Stored("Punteo0"), "");
    EXPECT_EQ(Stored("Punteo1"), "0");
}

TEST_F(ConfigurationTest, CancellingStoresNothing) {
    SaveSetting("Punteo0", "5", "");
    Answer(false, "9", "9", "1");
    ConfigurarPunteo(w);
    EXPECT_EQ(Stored("Punteo0"), "5");
    EXPECT_FALSE(Stored("Punteo1").has_value());
    EXPECT_FALSE(Stored("Punteo2").has_value());
    EXPECT_FALSE(Stored("PunteoMejorado").has_value());
}

}  // namespace
}  // namespace pendara
