// A display, a companion's view of it, and what it tells, for tests.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "companion/x11/x_desktop.h"
#include "linux/base/event_loop.h"
#include "tests/companion_x11/x_program.h"
#include "tests/scenario/process.h"
#include "tests/scenario/x_server.h"

namespace ZYNE::Companion {

// Writes what it is told: "key 30 down", "button 1 up", "scroll 0 120", "screens 2", "lost". Motions are summed up.
class Journal final : public Desktop::Listener {
public:
    void OnMotion(const Motion& motion) override {
        moved.dx += motion.dx;
        moved.dy += motion.dy;
        pointer = motion.pointer;
        ++motions;
    }
    void OnKey(const KeyChange& key) override { Add("key ", key.code, key.isDown); }
    void OnButton(const ButtonChange& button) override { Add("button ", button.button, button.isDown); }
    void OnScroll(const Scroll& scroll) override {
        lines.push_back("scroll " + std::to_string(scroll.dx) + " " + std::to_string(scroll.dy));
    }
    void OnScreens(const std::vector<Screen>& screens) override {
        lines.push_back("screens " + std::to_string(screens.size()));
    }
    void OnLost(const std::string& /*reason*/) override { lines.emplace_back("lost"); }

    std::vector<std::string> lines;
    Distance moved;
    Point pointer;
    int motions = 0;

private:
    void Add(const std::string& what, int code, bool isDown) {
        lines.push_back(what + std::to_string(code) + (isDown ? " down" : " up"));
    }
};

// One Xvfb, of a directory of its own.
class ServerTest : public testing::Test {
protected:
    ServerTest() {
        std::string path = (std::filesystem::temp_directory_path() / "cfwkXXXXXX").string();
        directory = mkdtemp(path.data());
        server.emplace(directory, "800x600");
    }
    ~ServerTest() override {
        server.reset();
        std::filesystem::remove_all(directory);
    }

    std::filesystem::path directory;
    std::optional<Testing::XServer> server;
};

// One Xvfb, a desktop on it with a loop of its own, and a program beside it.
class DisplayTest : public ServerTest {
protected:
    DisplayTest() {
        loop.Run([this] {
            desktop.emplace(loop, XDesktop::Options{server->Display(), COMPANION_KEEPER});
            desktop->Start(journal);
        });
    }
    ~DisplayTest() override {
        loop.Run([this] { desktop.reset(); });
    }

    // On the loop's thread.
    template <typename Call>
    auto On(Call&& call) {
        std::optional<decltype(call())> result;
        loop.Run([&] { result = call(); });
        return *result;
    }
    void Do(const std::function<void()>& call) {
        loop.Run([&] { call(); });
    }
    InputState State() {
        return On([this] { return desktop->GetState(); });
    }
    std::string Capture(bool withButtons = false) {
        return On([&] { return desktop->Capture(withButtons); });
    }
    bool Journals(const std::vector<std::string>& lines) {
        return Testing::Eventually([&] { return On([&] { return journal.lines == lines; }); });
    }
    bool Moved(double dx, double dy) {
        return Testing::Eventually(
            [&] { return On([&] { return journal.moved.dx == dx && journal.moved.dy == dy; }); });
    }
    std::vector<std::string> TakeLines() {
        return On([this] { return std::exchange(journal.lines, {}); });
    }

    Testing::XProgram program{server->Display()};  // and its person
    Linux::EventLoop loop{"companion"};
    Journal journal;
    std::optional<XDesktop> desktop;
};

}  // namespace ZYNE::Companion
