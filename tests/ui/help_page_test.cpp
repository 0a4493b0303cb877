// The help page names every toolbar button with its picture and carries the help of every
// command of pendara-cli, as the program of this build prints it.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/run_command.h"
#include "ui/controls.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

const std::filesystem::path kHelp = std::filesystem::path(PENDARA_SOURCE_DIR) / "docs" / "help";

std::string Page() {
    std::ifstream in(kHelp / "punteo.htm");
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// The page writes "&", "<" and ">" as entities.
std::string Escaped(std::string text) {
    std::string out;
    for (char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else
            out += c;
    }
    return out;
}

TEST(HelpPage, NamesEveryToolbarButtonWithItsPicture) {
    const std::string page = Page();
    ASSERT_FALSE(page.empty());
    Toolbar bars[3];
    bars[0].SetButtons(kToolbar1Images, kToolbar1Tips);
    bars[1].SetButtons(kToolbar2Images, kToolbar2Tips);
    bars[2].SetButtons(kToolbar1RunImages, kToolbar1RunTips);
    for (const Toolbar& bar : bars)
        for (const Toolbar::Button& b : bar.buttons()) {
            if (b.separator()) continue;
            const std::string picture = "iconos/" + std::to_string(b.key) + ".png";
            EXPECT_TRUE(std::filesystem::exists(kHelp / picture)) << picture;
            const std::string row = "<img src=\"" + picture + "\" alt=\"" + b.toolTip + "\">";
            EXPECT_NE(page.find(row), std::string::npos) << row;
            EXPECT_NE(page.find("<td>" + b.toolTip + "</td>"), std::string::npos) << b.toolTip;
        }
}

TEST(HelpPage, CarriesTheHelpOfEveryCommand) {
    const std::string page = Page();
    const testing::CommandResult top =
        testing::RunCommand(std::string(PENDARA_CLI_EXE) + " --help");
    ASSERT_EQ(top.status, 0);
    EXPECT_NE(page.find(Escaped(top.out.substr(0, top.out.find('\n')))), std::string::npos);
    // The commands are the indented lines after "Órdenes:".
    std::istringstream lines(top.out.substr(top.out.find("Órdenes:")));
    std::string line;
    std::getline(lines, line);
    int commands = 0;
    while (std::getline(lines, line) && line.rfind("  ", 0) == 0) {
        const std::string name = line.substr(2, line.find(' ', 2) - 2);
        ++commands;
        const testing::CommandResult help =
            testing::RunCommand(std::string(PENDARA_CLI_EXE) + " " + name + " --help");
        ASSERT_EQ(help.status, 0) << name;
        // Every line of the command's help stands in the page.
        std::istringstream text(help.out);
        std::string helpLine;
        while (std::getline(text, helpLine))
            EXPECT_NE(page.find(Escaped(helpLine)), std::string::npos) << name << ": " << helpLine;
    }
    EXPECT_GE(commands, 12);
}

}  // namespace
}  // namespace pendara
