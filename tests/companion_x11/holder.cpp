// x11_holder DISPLAY KEEPER: presses two keys and a button on a display, captures it, prints the number of its keeper,
// and lives until it is killed.
#include <unistd.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "companion/x11/x_desktop.h"

using namespace ZYNE::Companion;

namespace {

class Deaf final : public Desktop::Listener {
    void OnMotion(const Motion& /*motion*/) override {}
    void OnKey(const KeyChange& /*key*/) override {}
    void OnButton(const ButtonChange& /*button*/) override {}
    void OnScroll(const Scroll& /*scroll*/) override {}
    void OnScreens(const std::vector<Screen>& /*screens*/) override {}
    void OnLost(const std::string& /*reason*/) override {}
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 1;
    }
    Deaf deaf;
    ZYNE::Linux::EventLoop loop("holder");
    std::optional<XDesktop> desktop;
    loop.Run([&] {
        desktop.emplace(loop, XDesktop::Options{argv[1], argv[2]});
        desktop->Start(deaf);
        desktop->PressKey(30, true);
        desktop->PressKey(42, true);
        desktop->PressButton(1, true);
        desktop->Flush();
        const std::string whyNot = desktop->Capture(true);
        std::printf("%s%d\n", whyNot.c_str(), static_cast<int>(desktop->KeeperPid()));
        std::fflush(stdout);
    });
    pause();
}
