// What the users of two devices see when one asks the other.
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <csignal>
#include <future>

#include "linux/base/unique_fd.h"
#include "tests/scenario/pipeline.h"
#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::Pair;

constexpr int32_t NO_ANSWER = 2201;
constexpr int32_t NOT_SENT = 2203;

bool IsRunning(const std::string& pid) {
    return kill(std::stoi(pid), 0) == 0;
}

// A connection that never says whose it is; none when the bus has no room for it.
Linux::UniqueFd ConnectSilently(const std::string& busAddress) {
    sockaddr_un to{AF_UNIX, {}};
    const size_t path = busAddress.find('/');
    busAddress.copy(
        static_cast<char*>(to.sun_path), std::min(busAddress.find(',', path) - path, sizeof(to.sun_path) - 1), path);
    Linux::UniqueFd made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const bool isThere = connect(made.Get(), reinterpret_cast<const sockaddr*>(&to), sizeof(to)) == 0;
    return isThere ? std::move(made) : Linux::UniqueFd();
}

class Exchange : public Scenario {
protected:
    void SetUp() override {
        StartPhoneAndPc();
        // The library asks each service once when it comes up, and so has it loaded.
        ASSERT_TRUE(Eventually([this] { return pc->CountInLog("load SA success") > 0; }));
    }

    // The value of `name`, once there is one: what is loaded or connected on demand has none at first.
    std::string Await(const std::string& name) {
        std::string value;
        EXPECT_TRUE(Eventually([&] { return !(value = phone->AskOne("pc", name)).empty(); })) << name;
        return value;
    }
};

TEST_F(Exchange, AnswersAtOnceWhenAServiceDiesWhileItIsAskedAndHasItBackEachTime) {
    std::string pid = Await("service.pid");
    for (int death = 1; death <= 3; ++death) {
        EXPECT_EQ(phone->AskOne("pc", "service.die"), "");
        std::string next = Await("service.pid");
        EXPECT_NE(next, pid);
        pid = std::move(next);
    }
}

TEST_F(Exchange, HasAnAppThatDiedOrHangsStartedAnewAndBringsTheFactsOfOthersMeanwhile) {
    const std::string pid = Await("app.pid");
    EXPECT_EQ(phone->AskOne("pc", "app.die"), "");
    EXPECT_TRUE(Eventually([&] { return !IsRunning(pid); }));

    const std::string next = Await("app.pid");
    ASSERT_EQ(kill(std::stoi(next), SIGSTOP), 0);
    EXPECT_EQ(phone->Ask("pc", {"app.hello", "service.hello"}).records.back().second, "hello from the service");
    EXPECT_NE(Await("app.pid"), next);
    EXPECT_TRUE(Eventually([&] { return !IsRunning(next); }));
}

TEST_F(Exchange, EndsInTimeWhenThePeerIsKilledWhileItIsAskedAndGoesOnWhenItIsBack) {
    auto asked = std::async(std::launch::async, [this] { return phone->Ask("pc", {"service.late"}).code; });
    ASSERT_TRUE(Eventually([this] { return pc->CountInLog("executeInfoCollect, infoName:service.late") > 0; }));
    pc->Kill();

    EXPECT_EQ(asked.get(), NO_ANSWER);
    EXPECT_TRUE(Eventually([this] { return phone->MissesPeer("pc"); }));
    EXPECT_EQ(phone->Ask("pc", {"service.hello"}).code, NOT_SENT);

    pc->Start();
    ASSERT_TRUE(Eventually([this] { return phone->Sees("pc"); }));
    EXPECT_EQ(Await("service.hello"), "hello from the service");
}

TEST_F(Exchange, TakesAnAnswerOfFourMebibytesAndNotOneByteMore) {
    EXPECT_GT(phone->AskOne("pc", "service.exact").size(), 4194000u);
    EXPECT_EQ(phone->Ask("pc", {"service.oversize"}).code, NO_ANSWER);
    EXPECT_TRUE(Eventually([this] { return phone->CountInLog("OnDataReceived rawDataLen:4194305 is oversize") == 1; }));
}

TEST_F(Exchange, ServesThirtySlowRequestsOfOnePeerInTimeEachInTheOrderAsked) {
    Await("app.hello");
    std::vector<std::future<Client::InfoAnswer>> asked(30);
    std::ranges::generate(asked, [this] {
        return std::async(std::launch::async, [this] {
            return phone->Ask("pc", {"service.slow", "nobody.knows", "service.hello", "app.hello"});
        });
    });
    for (auto& each : asked) {
        const Client::InfoAnswer answer = each.get();
        EXPECT_EQ(answer.code, 0);
        EXPECT_THAT(answer.records,
            ElementsAre(Pair("service.slow", "slept"), Pair("nobody.knows", ""),
                Pair("service.hello", "hello from the service"), Pair("app.hello", "hello from the app")));
    }
}

TEST_F(Exchange, AnswersAThousandRequestsInFlightAndRefusesWhatIsFarTooMuchAsBusy) {
    Await("service.hello");
    // How many answers had this code, or the error of this name.
    const auto ask = [this](size_t inFlight) {
        std::map<std::string, size_t> told;
        Pipeline asking(*phone, [&](sd_bus_message* answer) {
            const sd_bus_error* error = sd_bus_message_get_error(answer);
            if (error != nullptr) {
                pc->Signal(SIGCONT);
            }
            int32_t code = -1;
            sd_bus_message_read(answer, "i", &code);
            ++told[error != nullptr ? error->name : std::to_string(code)];
        });
        for (size_t i = 0; i < inFlight; ++i) {
            asking.Send("GetInfo", "sas", "pc", 1, "service.hello");
        }
        asking.Await();
        return told;
    };
    EXPECT_THAT(ask(1000), ElementsAre(Pair("0", 1000)));
    pc->Signal(SIGSTOP);  // until one is refused: a slow machine would answer one after the other
    EXPECT_THAT(ask(6000), ElementsAre(Pair("0", Ge(1)), Pair("io.collaborationfwk.Error.Busy", Ge(1))));
}

TEST_F(Exchange, KeepsNoProgramWaitingForThoseThatAskMuchOrLeaveTheirAnswersUnread) {
    constexpr size_t IN_FLIGHT = 72;
    const auto ask = [](Pipeline& program) {
        for (size_t i = 0; i < IN_FLIGHT; ++i) {
            program.Send("GetProfile", "ssss", "phone", "service", "type", "key");
        }
        program.Flush();
    };
    ASSERT_EQ(phone->Api().Profiles().Put("service", "type", "key", std::string(256 << 10, 'v')), 0);
    Pipeline unread(*phone);
    ask(unread);
    EXPECT_TRUE(phone->Api().Profiles().Get("phone", "service", "type", "key"));
    // By its end as many of the others' answers have come, too: more than the bus takes in by itself.
    Pipeline other(*phone);
    ask(other);
    EXPECT_EQ(other.Await(), IN_FLIGHT);
    EXPECT_EQ(unread.Await(), IN_FLIGHT);
}

TEST_F(Exchange, LetsProgramsInWhileHundredsOfConnectionsToTheBusSayNothing) {
    std::vector<Linux::UniqueFd> silent;
    while (silent.size() < 600) {
        silent.push_back(ConnectSilently(phone->Entry()->busAddress));
        ASSERT_TRUE(silent.back()) << silent.size();
    }
    EXPECT_EQ(phone->Ctl({"devices"}).status, 0);
}

TEST_F(Exchange, SurvivesAServiceThatAnswersNonsense) {
    for (const std::string name :
        {"service.notJson", "service.deep", "service.wrongTypes", "service.noValue", "service.notAParcel"}) {
        EXPECT_EQ(phone->AskOne("pc", name), "") << name;
    }
    EXPECT_EQ(
        phone->Ask("pc", {"service.duplicates", "service.hello"}).records.back().second, "hello from the service");
    EXPECT_TRUE(Eventually([this] { return pc->CountInLog("RequestSingleSaOnConfigInfo StringToJson failed") == 3; }));
}

TEST_F(Exchange, IsNotEndedByAProgramThatAsksItsProcessesToStop) {
    const std::string service = Await("service.pid");
    const std::string app = Await("app.pid");
    const auto stop = [this](const std::string& name) {
        return RunCommand({"/usr/bin/dbus-send", "--bus=" + pc->Entry()->busAddress, "--print-reply", "--dest=" + name,
                              "/com/zyne/Object", "com.zyne.Process.Stop"})
            .err;
    };
    EXPECT_THAT(stop("test.Provider"), HasSubstr("AccessDenied"));
    EXPECT_THAT(stop("com.zyne.extension.test_2eapp.Provider"), HasSubstr("AccessDenied"));
    EXPECT_THAT(stop("io.collaborationfwk.DataShare1"), HasSubstr("UnknownMethod"));
    EXPECT_EQ(phone->AskOne("pc", "service.pid"), service);
    EXPECT_EQ(phone->AskOne("pc", "app.pid"), app);
    EXPECT_EQ(pc->Ctl({"setting", "put", "a", "b"}).status, 0);
}

TEST_F(Exchange, LeavesNothingBehindWhenADeviceIsKilledOrStops) {
    for (const bool isKilled : {true, false}) {
        std::vector<std::string> left{Await("service.pid"), Await("app.pid")};
        if (isKilled) {
            pc->Kill();
        } else {
            left.push_back(Await("service.detach"));
            EXPECT_EQ(pc->Stop(), 0);
            EXPECT_EQ(pc->Entry(), std::nullopt);
        }
        EXPECT_TRUE(Eventually([&] { return std::ranges::none_of(left, IsRunning); }));
        pc->Start();
        ASSERT_TRUE(Eventually([this] { return phone->Sees("pc"); }));
    }
}

}  // namespace
}  // namespace ZYNE::Testing
