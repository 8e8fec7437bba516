#include "tests/scenario/pointer_scenario.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace ZYNE::Testing {
namespace {

std::string SizeOf(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

}  // namespace

DeviceSetup PointerScenario::SetupOf(const Seat& seat, const std::string& type, const std::string& desk) {
    return {.type = type,
        .hasCompanion = true,
        .config = "[[user]]\nid = 100\nname = \"Anna\"\n[[user]]\nid = 101\nname = \"Bert\"\n[input]\ndisplay = \"" +
            seat.server.Display() + "\"\n[desk]\n" + desk};
}

void PointerScenario::StartDesks(const DesksSetup& setup) {
    phones = std::make_unique<Seat>(directory, SizeOf(PHONE_WIDTH, PHONE_HEIGHT));
    pcs = std::make_unique<Seat>(directory, SizeOf(PC_WIDTH, PC_HEIGHT));
    phone = &Add("phone", SetupOf(*phones, "phone", setup.phoneDesk));
    DeviceSetup pcSetup = SetupOf(*pcs, "pc", setup.pcDesk);
    pcSetup.hasCompanion = setup.hasPcCompanion;
    pc = &Add("pc", pcSetup);
    if (!setup.hasPcCompanion) {
        const auto bundle = pc->Directory() / "apps" / APP;
        std::filesystem::create_directories(bundle);
        std::ofstream(bundle / "manifest.json")
            << R"({"bundleName": ")" << APP << R"(", "channels": ["desk", "motion", "clipboard"]})";
    }
    StartBoth();
    const std::string output = directory / "watch.txt";
    watch =
        std::make_unique<Process>(std::vector<std::string>{COLLABCTL, "--device", "phone", "watch", "desk"}, output);
    ASSERT_TRUE(Eventually([&] { return Count(ReadAll(output), "watching") == 1; }));
    for (const TestDevice* device : {phone, pc}) {
        ASSERT_EQ(device->Ctl({"switch", "on"}).status, 0);
    }
    ASSERT_EQ(phone->Ctl({"desk", "place", "pc", "right"}).status, 0);
    if (setup.hasPcCompanion) {
        ASSERT_TRUE(AreReady());
    }
}

std::string PointerScenario::Where(const TestDevice& device) {
    try {
        return Client::Desk(*device.Entry()).GetState().where;
    } catch (const Client::DeviceError&) {
        return "none";
    }
}

bool PointerScenario::Comes(const TestDevice& device, const std::string& where) {
    const bool comes = Eventually([&] { return Where(device) == where; });
    EXPECT_TRUE(comes) << "the pointer of " << device.Name() << ": " << Where(device) << ", not " << where;
    return comes;
}

bool PointerScenario::IsReady(const TestDevice& device, const TestDevice& peer) {
    const auto holds = [](const Client::DeskFact& fact) {
        return fact.holds || fact.name == "modifier held" || fact.name == "nothing held";
    };
    return Eventually([&] {
        try {
            const std::string id = device.Api().Info().FindPeer(peer.Name()).id;
            return std::ranges::all_of(Client::Desk(*device.Entry()).Explain(id), holds);
        } catch (const Client::DeviceError&) {
            return false;
        }
    });
}

bool PointerScenario::ComesToSay(
    const TestDevice& device, const TestDevice& peer, const std::string& fact, bool holds) {
    return Eventually([&] {
        const std::string id = device.Api().Info().FindPeer(peer.Name()).id;
        const auto facts = Client::Desk(*device.Entry()).Explain(id);
        return std::ranges::any_of(
            facts, [&](const Client::DeskFact& each) { return each.name == fact && each.holds == holds; });
    });
}

// Where the pointer was sent home, the edge is closed for a while, and several motions may be one for the companion.
bool PointerScenario::PushOver(Spot from, Spot by) {
    return Eventually([&] {
        phones->program.MoveTo(static_cast<int16_t>(from.x), static_cast<int16_t>(from.y));
        phones->program.MoveBy(static_cast<int16_t>(by.x), static_cast<int16_t>(by.y));
        for (int looks = 0; looks < 50 && Where(*phone) == "home"; ++looks) {
        }
        return Where(*phone) != "home";
    });
}

void PointerScenario::Cross() {
    ASSERT_TRUE(PushOver({PHONE_WIDTH - 100, PHONE_HEIGHT / 2}, {200, 0}));
    ASSERT_TRUE(Comes(*phone, "away") && Comes(*pc, "host"));
    Steer({100, PC_HEIGHT / 2});
}

void PointerScenario::Steer(Spot to) {
    EXPECT_TRUE(Eventually([&] {
        const Spot at = pcs->At();
        phones->program.MoveBy(static_cast<int16_t>(to.x - at.x), static_cast<int16_t>(to.y - at.y));
        return Eventually([&] { return pcs->At() == to; }, std::chrono::seconds(1));
    })) << pcs->At().x
        << "," << pcs->At().y;
}

void PointerScenario::ExpectAllAtHome(int key, int button) {
    EXPECT_TRUE(pcs->HoldsNothing()) << "at the PC";
    if (key != 0) {
        phones->Press(key, false);
    }
    if (button != 0) {
        phones->PressButton(button, false);
    }
    EXPECT_TRUE(phones->HoldsNothing()) << "at the phone";
    for (Seat* const seat : {phones.get(), pcs.get()}) {
        EXPECT_TRUE(seat->IsFree());
        seat->program.MoveTo(300, 300);
        EXPECT_TRUE(seat->ComesTo({300, 300}));
        seat->program.Heard();
    }
}

void PointerScenario::Settle(const TestDevice& device) {
    for (int times = 0; times < 2; ++times) {
        Where(device);
    }
}

pid_t PointerScenario::Companion(const TestDevice& device) {
    const Outcome outcome = RunCommand({"/usr/bin/dbus-send", "--bus=" + device.Entry()->busAddress,
        "--print-reply=literal", "--dest=org.freedesktop.DBus", "/", "org.freedesktop.DBus.GetConnectionUnixProcessID",
        "string:com.zyne.extension.com_2etalvex_2epeerdesk.KeyMouseService"});
    const size_t number = outcome.out.find_first_of("123456789", outcome.out.find("uint32") + sizeof "uint32");
    return outcome.status == 0 ? std::stoi(outcome.out.substr(number)) : 0;
}

std::vector<std::string> PointerScenario::Passages() const {
    static const std::regex LINE(R"(  desk  ([a-z-]+)  ([a-z]+)  (.*))");
    std::istringstream output(ReadAll(directory / "watch.txt"));
    std::vector<std::string> passages;
    for (std::string line; std::getline(output, line);) {
        std::smatch match;
        if (std::regex_search(line, match, LINE)) {
            passages.push_back(match[1].str() + " " + match[2].str() + ": " + match[3].str());
        }
    }
    return passages;
}

}  // namespace ZYNE::Testing
