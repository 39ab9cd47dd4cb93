// A tour of the library's strings: sharing, editing, expansion, matching and
// natural order. Prints each step; exits non-zero if a step misbehaves.
#include <grundel/grundel.h>

#include <cstdio>

namespace {

int failures = 0;

void show(const char* what, const Tstring& s, const char* expected) {
    const bool ok = s == expected;
    failures += ok ? 0 : 1;
    std::printf("%-34s \"%s\"%s\n", what, s.asC(), ok ? "" : "   <-- unexpected");
}

} // namespace

int main() {
    const Tstring scene("/projects/shot12/scene.vrn");
    Tstring copy(scene);
    std::printf("a copy shares the block:           %s\n", copy.data() == scene.data() ? "yes" : "no");
    copy += ".bak";
    std::printf("after an edit it has its own:      %s\n", copy.data() != scene.data() ? "yes" : "no");

    show("tail", scene.tail(), "scene.vrn");
    show("directory", scene.directoryPath(), "/projects/shot12");
    show("extension", scene.extension(), "vrn");

    VornPutEnv("VORN_DEMO_ROOT=/projects");
    show("${VORN_DEMO_ROOT}/shot%N%", Tstring("${VORN_DEMO_ROOT}/shot%N%").expandEnvAndTilde(),
         "/projects/shot%N%");

    Tstring text("  many   words\tin  a\nrow ");
    show("collapseWhiteSpace", text.collapseWhiteSpace(), "many words in a row");
    Tstring escaped("tab\there");
    show("encodeEscapeSequences", escaped.encodeEscapeSequences(), "tab\\there");

    Tstring shot, frame;
    const int groups = Tstring("shot12_f0042").matchesRegexp("shot([0-9]+)_f([0-9]+)", &shot, &frame);
    std::printf("%-34s %d groups: shot %s, frame %s\n", "matchesRegexp", groups, shot.asC(), frame.asC());
    failures += groups == 2 && shot == "12" && frame == "0042" ? 0 : 1;

    std::printf("%-34s %s\n", "\"*.vrn\" matches the scene", scene.tail().matches("*.vrn") ? "yes" : "no");
    std::printf("%-34s %s\n", "natural order: shot9 < shot10",
                TnameString::strnumcmp("shot9", "shot10") < 0 ? "yes" : "no");

    Tstring number;
    number.setDouble(3.14159265, 3, false);
    show("setDouble(pi, 3, false)", number, "3.142");
    show("cformat", Tstring::cformatString("%s has %u characters", "scene", scene.length()),
         "scene has 26 characters");

    std::printf("%s\n", failures == 0 ? "all steps as expected" : "some steps misbehaved");
    return failures == 0 ? 0 : 1;
}
