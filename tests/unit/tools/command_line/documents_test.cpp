#include <CLI/CLI.hpp>
#include <cstdio>

#include "tests/support/basics.h"
#include "tests/support/files.h"
#include "tools/command_line/command_line.h"
#include "tools/command_line/completion.h"
#include "tools/command_line/manual.h"

namespace tools {

/// A program with what documents may stumble over.
struct Documents : testing::Test {
    Documents() {
        line.option("FILE", file, {"", "What to show"}, {"", ""});
        line.app().add_option("--size", size, "Rows")->capture_default_str()->type_name("N");
        CLI::App& draw = *line.app().add_subcommand("draw", "Draws a picture");
        draw.fallthrough();
        draw.add_option("--out", out, ".\\out of \"20-30\"")->type_name("FILE");
        draw.add_flag("--plain", plain, "'tis plain")->excludes(draw.get_option("--out"));
        draw.add_option("--kind,-k", kind, "Kind")->type_name("line|bars");
    }

    /// What bash offers behind these words; the last one is being typed.
    std::string offered(const std::string& words) {
        const std::string script = testing::TempDir() + "completion";
        writeFile(script, bashCompletion(line.app()) + "COMP_WORDS=(" + words +
                              ") COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_prog\n"
                              "printf '%s ' \"${COMPREPLY[@]}\"\n");
        FILE* const bash = popen(("cd / && bash " + script + " 2>&1").c_str(), "r");
        std::string text(4096, '\0');
        text.resize(std::fread(text.data(), 1, text.size(), bash));
        EXPECT_EQ(pclose(bash), 0);
        return text;
    }

    std::string file, out, kind;
    int size = 24;
    bool plain = false;
    CommandLine line{"prog",
                     {"", "Shows a-b. It does more."},
                     {"", "A remark.\n\nExit status: 0 shown,\n1 not"},
                     Language::en};
};

TEST_F(Documents, ManualHoldsWhatTheHelpHolds) {
    const std::string page = manualPage(line.app(), Language::en,
                                        {"2026-11-22", "prog 1.0", "By hand.\n.SH FILES\nx\n"});
    const struct {
        const char* why;
        const char* text;
    } cases[] = {
        {"title", ".TH PROG 1 \"2026-11-22\" \"prog 1.0\" \"Controller\"\n"},
        {"for apropos", ".SH NAME\nprog \\- shows a\\-b\n"},
        {"sections by hand", "A remark.\nBy hand.\n.SH COMMANDS\n"},
        {"their rest", ".SH EXIT STATUS\n0 shown, 1 not.\n.SH FILES\nx\n"},
        {"a line that troff would take for a request", "\n\\&.\\eout of \"20\\-30\". Not with"},
        {"the other kind", "\\fB\\-\\-plain\\fR\n\\&'tis plain. Not with \\-\\-out.\n"},
        {"names", "\\fB\\-k\\fR, \\fB\\-\\-kind\\fR \\fIline|bars\\fR\nKind.\n"},
        {"default", "\\fB\\-\\-size\\fR \\fIN\\fR\nRows. Default: 24.\n"},
        {"argument", ".SH OPTIONS\n.TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nShow this help.\n"},
    };
    for (const auto& c : cases)
        EXPECT_THAT(page, testing::HasSubstr(c.text)) << c.why;
}

TEST_F(Documents, BashOffersWhatFits) {
    const struct {
        const char* words;
        const char* offered;
    } cases[] = {
        {"prog d", "draw "},
        {"prog --s", "--size "},
        {"prog --size ''", " "},
        {"prog --lang = r", "ru "},
        {"prog draw ''", "-h --help --out --plain -k --kind --lang --size "},
        {"prog draw --plain --ki", "--kind "},
        {"prog draw -k b", "bars "},
        {"prog draw --out /et", "/etc "},
    };
    for (const auto& c : cases)
        EXPECT_EQ(offered(c.words), c.offered) << c.words;
}

}  // namespace tools
