// What the users of two devices see when one asks the other.
#include <chrono>
#include <csignal>
#include <future>
#include <thread>

#include <systemd/sd-bus.h>

#include "linux/bus/bus_address.h"
#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using namespace std::chrono_literals;

constexpr int32_t NO_ANSWER = 2201;
constexpr int32_t NOT_SENT = 2203;

bool IsRunning(const std::string& pid) {
    return kill(std::stoi(pid), 0) == 0;
}

// A program that sends its calls without waiting for the answers.
class Pipeline {
public:
    explicit Pipeline(const TestDevice& device) : bus_(Linux::OpenBus(device.Entry()->busAddress)) {}

    template <typename... Arguments>
    void Send(const char* method, const char* types, const Arguments&... arguments) {
        ++sent_;
        EXPECT_GE(
            sd_bus_call_method_async(bus_.get(), nullptr, "io.collaborationfwk.Device1", "/io/collaborationfwk/Device1",
                "io.collaborationfwk.Device1", method, &OnAnswer, this, types, arguments...),
            0);
    }
    // Waits for the answers; how many were no errors.
    size_t Await() {
        while (came_ < sent_ && sd_bus_wait(bus_.get(), UINT64_MAX) >= 0) {
            while (sd_bus_process(bus_.get(), nullptr) > 0) {
            }
        }
        return answered_;
    }
    void Flush() { sd_bus_flush(bus_.get()); }

private:
    static int OnAnswer(sd_bus_message* answer, void* self, sd_bus_error*) {
        auto* pipeline = static_cast<Pipeline*>(self);
        ++pipeline->came_;
        pipeline->answered_ += sd_bus_message_is_method_error(answer, nullptr) > 0 ? 0 : 1;
        return 0;
    }

    const Linux::BusHandle bus_;
    size_t sent_ = 0;
    size_t came_ = 0;
    size_t answered_ = 0;
};

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

TEST_F(Exchange, BringsFactsOfAServiceAndOfAnAppInTheOrderAsked) {
    Await("app.hello");
    const auto answer = phone->Ask("pc", {"service.hello", "app.hello", "nobody.knows"});

    EXPECT_EQ(answer.code, 0);
    EXPECT_THAT(answer.records,
        ElementsAre(Pair("service.hello", "hello from the service"), Pair("app.hello", "hello from the app"),
            Pair("nobody.knows", "")));
}

TEST_F(Exchange, WorksInBothDirectionsAndAfterARestartOfThePeer) {
    EXPECT_EQ(pc->AskOne("phone", "anything"), "");
    EXPECT_EQ(pc->Stop(), 0);
    ASSERT_TRUE(Eventually([this] { return phone->MissesPeer("pc"); }));
    EXPECT_EQ(phone->Ask("pc", {"service.hello"}).code, NOT_SENT);

    pc->Start();
    ASSERT_TRUE(Eventually([this] { return phone->Sees("pc"); }));
    EXPECT_EQ(Await("service.hello"), "hello from the service");
}

TEST_F(Exchange, AnswersAtOnceWhenAServiceDiesWhileItIsAskedAndHasItBackEachTime) {
    std::string pid = Await("service.pid");
    for (int death = 1; death <= 3; ++death) {
        EXPECT_EQ(phone->AskOne("pc", "service.die"), "");
        std::string next = Await("service.pid");
        EXPECT_NE(next, pid);
        pid = std::move(next);
    }
}

TEST_F(Exchange, ReconnectsAnAppExtensionThatWasKilled) {
    const std::string pid = Await("app.pid");

    EXPECT_EQ(phone->AskOne("pc", "app.die"), "");
    EXPECT_TRUE(Eventually([&] { return !IsRunning(pid); }));
    EXPECT_NE(Await("app.pid"), pid);
}

TEST_F(Exchange, BringsTheFactsOfOthersWhileAnAppHangsWhichIsThenStartedAnew) {
    const std::string pid = Await("app.pid");
    ASSERT_EQ(kill(std::stoi(pid), SIGSTOP), 0);

    EXPECT_EQ(phone->Ask("pc", {"app.hello", "service.hello"}).records.back().second, "hello from the service");
    EXPECT_NE(Await("app.pid"), pid);
    EXPECT_TRUE(Eventually([&] { return !IsRunning(pid); }));
}

TEST_F(Exchange, IsNotHeldUpByASlowProvider) {
    auto slow = std::async(std::launch::async, [this] { return phone->AskOne("pc", "service.slow"); });
    ASSERT_TRUE(Eventually([this] { return pc->CountInLog("executeInfoCollect, infoName:service.slow") > 0; }));

    EXPECT_EQ(phone->AskOne("pc", "service.hello"), "hello from the service");
    EXPECT_EQ(slow.wait_for(0s), std::future_status::timeout);
    EXPECT_EQ(slow.get(), "slept");
}

TEST_F(Exchange, GivesUpAfterFiveSecondsAndRefusesTheLateAnswer) {
    EXPECT_EQ(phone->Ask("pc", {"service.late"}).code, NO_ANSWER);
    EXPECT_TRUE(Eventually([this] { return phone->CountInLog("SetDynamicInfo failed") > 0; }));
}

TEST_F(Exchange, EndsInTimeWhenThePeerIsKilledWhileItIsAsked) {
    auto asked = std::async(std::launch::async, [this] { return phone->Ask("pc", {"service.late"}).code; });
    ASSERT_TRUE(Eventually([this] { return pc->CountInLog("executeInfoCollect, infoName:service.late") > 0; }));
    pc->Kill();

    EXPECT_EQ(asked.get(), NO_ANSWER);
    EXPECT_TRUE(Eventually([this] { return phone->MissesPeer("pc"); }));
    EXPECT_EQ(phone->Ask("pc", {"service.hello"}).code, NOT_SENT);
}

TEST_F(Exchange, TakesAnAnswerOfFourMebibytesAndNotOneByteMore) {
    EXPECT_GT(phone->AskOne("pc", "service.exact").size(), 4194000u);
    EXPECT_EQ(phone->Ask("pc", {"service.oversize"}).code, NO_ANSWER);
    EXPECT_TRUE(Eventually([this] { return phone->CountInLog("OnDataReceived rawDataLen:4194305 is oversize") == 1; }));
}

TEST_F(Exchange, ServesThirtyRequestsOfOnePeerAtOnceOfWhichSomeWait) {
    Await("app.hello");
    std::vector<std::future<Client::InfoAnswer>> asked;
    for (int i = 0; i < 30; ++i) {
        asked.push_back(std::async(std::launch::async, [this] {
            return phone->Ask("pc", {"service.slow", "service.hello", "app.hello"});
        }));
    }
    for (auto& each : asked) {
        const Client::InfoAnswer answer = each.get();
        EXPECT_EQ(answer.code, 0);
        EXPECT_THAT(answer.records,
            ElementsAre(Pair("service.slow", "slept"), Pair("service.hello", "hello from the service"),
                Pair("app.hello", "hello from the app")));
    }
}

TEST_F(Exchange, AnswersAThousandRequestsInFlight) {
    constexpr size_t IN_FLIGHT = 1000;
    Await("service.hello");
    Pipeline asking(*phone);
    for (size_t i = 0; i < IN_FLIGHT; ++i) {
        asking.Send("GetInfo", "sas", "pc", 1, "service.hello");
    }
    EXPECT_EQ(asking.Await(), IN_FLIGHT);
}

TEST_F(Exchange, KeepsNoProgramWaitingForThoseThatAskMuchOrLeaveTheirAnswersUnread) {
    constexpr size_t IN_FLIGHT = 72;
    const auto ask = [](Pipeline& program) {
        for (size_t i = 0; i < IN_FLIGHT; ++i) {
            program.Send("GetProfile", "ssss", "phone", "service", "type", "key");
        }
        program.Flush();
    };
    ASSERT_EQ(phone->Api().PutProfile("service", "type", "key", std::string(256 << 10, 'v')), 0);
    Pipeline unread(*phone);
    ask(unread);
    EXPECT_TRUE(phone->Api().GetProfile("phone", "service", "type", "key"));
    // By its end as many of the others' answers have come, too: more than the bus takes in by itself.
    Pipeline other(*phone);
    ask(other);
    EXPECT_EQ(other.Await(), IN_FLIGHT);
    EXPECT_EQ(unread.Await(), IN_FLIGHT);
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

TEST_F(Exchange, LeavesNothingBehindWhenADeviceStops) {
    const std::string service = Await("service.pid");
    const std::string app = Await("app.pid");
    const std::string detached = Await("service.detach");

    EXPECT_EQ(pc->Stop(), 0);
    EXPECT_TRUE(Eventually([&] { return !IsRunning(service) && !IsRunning(app) && !IsRunning(detached); }));
    EXPECT_EQ(pc->Entry(), std::nullopt);
}

TEST_F(Exchange, LeavesNoProcessBehindWhenADeviceIsKilled) {
    const std::string service = Await("service.pid");
    const std::string app = Await("app.pid");
    pc->Kill();

    EXPECT_TRUE(Eventually([&] { return !IsRunning(service) && !IsRunning(app); }));
}

TEST_F(Exchange, HidesUdidsAndNetworkIdsFromTheLog) {
    Await("service.hello");
    const std::string udid = pc->Udid();

    EXPECT_EQ(phone->CountInLog(udid), 0u);
    EXPECT_EQ(pc->CountInLog(udid), 0u);
}

}  // namespace
}  // namespace ZYNE::Testing
