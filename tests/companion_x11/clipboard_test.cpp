// The clipboard of a real X server, with programs of different kinds beside the companion.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "companion/x11/x_clipboard.h"
#include "tests/companion_x11/port.h"

namespace ZYNE::Companion {
namespace {

using testing::ElementsAre;
using Testing::Eventually;
using testing::IsEmpty;

using Types = std::vector<ContentType>;

// One companion's side: what it was told, and what it gives.
class Side final : public Clipboard::Listener {
public:
    Side(Linux::EventLoop& sideLoop, const std::string& display) : loop(sideLoop) {
        loop.Run([&] {
            clipboard.emplace(loop, display);
            clipboard->Start(*this);
        });
    }
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;
    ~Side() {
        loop.Run([&] { clipboard.reset(); });
    }

    void OnCopied(const Types& types) override { copied.push_back(types); }
    void OnPaste(ContentType type) override {
        ++pastes;
        clipboard->Give(type, contents[type]);
    }

    void Offer(const std::map<ContentType, std::string>& offered) {
        loop.Run([&] {
            contents = offered;
            Types types;
            for (const auto& [type, content] : offered) {
                types.push_back(type);
            }
            clipboard->Offer(types);
        });
    }
    void StartRead(ContentType type) {
        loop.Run([&] { clipboard->Read(type, [this](std::string content) { read.push_back(std::move(content)); }); });
    }
    // What it was told last, when that comes true.
    bool HasCopied(const Types& types) {
        return Eventually([&] {
            const auto now = Copied();
            return !now.empty() && now.back() == types;
        });
    }
    std::vector<Types> Copied() {
        std::vector<Types> now;
        loop.Run([&] { now = copied; });
        return now;
    }
    bool HasRead(size_t count) {
        size_t now = 0;
        loop.Run([&] { now = read.size(); });
        return now >= count;
    }
    std::vector<std::string> TakeRead() {
        std::vector<std::string> now;
        loop.Run([&] { now = std::exchange(read, {}); });
        return now;
    }
    void Forget() {
        loop.Run([&] { copied.clear(); });
    }
    std::vector<std::string> Read(ContentType type) {
        StartRead(type);
        StartRead(type);
        EXPECT_TRUE(Eventually([&] { return HasRead(2); }));
        return TakeRead();
    }

    Linux::EventLoop& loop;
    std::optional<XClipboard> clipboard;
    std::map<ContentType, std::string> contents;
    std::vector<Types> copied;
    std::vector<std::string> read;
    int pastes = 0;
};

class X11Clipboard : public ServerTest {
protected:
    std::string Paste(const std::string& target) const {
        return Testing::RunCommand({"/usr/bin/env", "DISPLAY=" + server->Display(), "/usr/bin/xclip", "-selection",
                                       "clipboard", "-o", "-t", target})
            .out;
    }
    void CopyFile(const std::string& content, const std::string& target) const {
        const std::filesystem::path file = directory / "content";
        std::ofstream(file, std::ios::binary) << content;
        server->Run("/usr/bin/xclip", {"-selection", "clipboard", "-i", "-t", target, file});
    }

    Linux::EventLoop loop{"companion"};
    Side side{loop, server->Display()};
};

std::string Large(size_t size) {
    std::string content(size, '\0');
    for (size_t index = 0; index < size; ++index) {
        content[index] = static_cast<char>(index * 31 + index / 7919);
    }
    return content;
}

TEST_F(X11Clipboard, GivesWhatItOffersToOtherPrograms) {
    const std::string picture = Large(Clipboard::MAX_BYTES);
    side.Offer({{ContentType::TEXT, "grüße €"}, {ContentType::PNG, picture}});
    EXPECT_TRUE(Eventually([&] { return Paste("UTF8_STRING") == "grüße €"; }));
    EXPECT_EQ(Paste("text/plain;charset=utf-8"), "grüße €");
    EXPECT_EQ(Paste("STRING"),
        "gr\xfc\xdf"
        "e ?");
    EXPECT_TRUE(Paste("image/png") == picture);
    EXPECT_EQ(Paste("text/html"), "");
    EXPECT_NE(Paste("TARGETS").find("image/png"), std::string::npos);
    EXPECT_NE(Paste("TIMESTAMP"), "");
    Testing::XProgram program(server->Display());
    EXPECT_THAT(program.PasteBoth("UTF8_STRING", "text/html"), ElementsAre("grüße €", "-"));

    side.Offer({{ContentType::TEXT, ""}});
    EXPECT_TRUE(Eventually([&] { return Paste("image/png").empty(); }));
    EXPECT_EQ(Paste("UTF8_STRING"), "") << "it cannot be had";
    side.Offer({});
    EXPECT_TRUE(Eventually([&] { return Paste("TARGETS").empty(); }));
    EXPECT_THAT(side.Copied(), IsEmpty()) << "its own offers are not told";
}

TEST_F(X11Clipboard, ReadsWhatOtherProgramsHaveCopied) {
    for (const size_t size : {size_t{5}, size_t{70'000}, Clipboard::MAX_BYTES, Clipboard::MAX_BYTES + 1}) {
        const std::string picture = Large(size);
        CopyFile(picture, "image/png");
        ASSERT_TRUE(side.HasCopied({ContentType::PNG}));
        const std::string expected = size > Clipboard::MAX_BYTES ? "" : picture;
        EXPECT_TRUE(side.Read(ContentType::PNG) == std::vector(2, expected)) << size;
        EXPECT_THAT(side.Read(ContentType::TEXT), ElementsAre("", ""));
        side.Forget();
    }
    CopyFile("gr\xfc\xdf"
             "e",
        "STRING");
    ASSERT_TRUE(side.HasCopied({ContentType::TEXT}));
    EXPECT_THAT(side.Read(ContentType::TEXT), ElementsAre("grüße", "grüße"));
    CopyFile("<b>", "text/html");
    EXPECT_TRUE(side.HasCopied({}));
}

TEST_F(X11Clipboard, CarriesBetweenTwoCompanions) {
    const std::string picture = Large(Clipboard::MAX_BYTES);
    Linux::EventLoop otherLoop("other");
    Side other(otherLoop, server->Display());
    other.Offer({{ContentType::TEXT, "a"}, {ContentType::PNG, picture}});
    ASSERT_TRUE(side.HasCopied({ContentType::TEXT, ContentType::PNG}));
    EXPECT_TRUE(side.Read(ContentType::PNG) == std::vector(2, picture));
    side.Offer({{ContentType::TEXT, "b"}});
    ASSERT_TRUE(other.HasCopied({ContentType::TEXT}));
    EXPECT_THAT(other.Read(ContentType::TEXT), ElementsAre("b", "b"));
    EXPECT_THAT(side.Read(ContentType::TEXT), ElementsAre("", "")) << "its own offer was not copied here";
    EXPECT_EQ(side.pastes, 2);
}

TEST_F(X11Clipboard, KeepsSecretsHere) {
    Testing::XProgram program(server->Display());
    const auto tells = [&](const std::map<std::string, std::string>& contents) {
        side.Forget();
        program.Copy(contents);
        program.Serve([&] { return !side.Copied().empty(); });
        return side.Copied().back();
    };
    EXPECT_THAT(tells({{"UTF8_STRING", "a"}}), ElementsAre(ContentType::TEXT));
    EXPECT_THAT(tells({{"UTF8_STRING", "pass"}, {"x-kde-passwordManagerHint", "secret"}}), IsEmpty());
    EXPECT_THAT(side.Read(ContentType::TEXT), ElementsAre("", ""));
    EXPECT_THAT(tells({{"UTF8_STRING", "b"}, {"x-kde-passwordManagerHint", "public"}}), ElementsAre(ContentType::TEXT));

    // Nobody answers, and then the server is gone.
    side.StartRead(ContentType::TEXT);
    server->Server().Signal(SIGKILL);
    EXPECT_TRUE(Eventually([&] { return side.HasRead(1); }));
    EXPECT_THAT(side.TakeRead(), ElementsAre(""));
}

}  // namespace
}  // namespace ZYNE::Companion
