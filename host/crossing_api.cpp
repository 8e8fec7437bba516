#include "host/crossing_api.h"

#include <cstdint>
#include <tuple>
#include <utility>

#include <sdbus-c++/sdbus-c++.h>

#include "client/bus_library.h"
#include "client/device_api_adaptor.h"
#include "host/api_error.h"
#include "host/bus_text.h"
#include "host/crossing_binders.h"
#include "host/crossing_listeners.h"
#include "host/peer_choice.h"
#include "host/program_calls.h"
#include "host/switch_api.h"
#include "host/user_api.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"

namespace ZYNE::Host {
namespace {

using CollaborationFwk::KeyMouseServiceManager;
using Linux::ScreenStatus;
using Linux::ScriptedInput;

using Rule = sdbus::Struct<std::string, bool, bool>;

std::tuple<int32_t, std::string> CarryOut(const std::string& request) {
    std::string result;
    const int32_t code = KeyMouseServiceManager::GetInstance().ProcessKeyMouseRequest(request, result);
    return {code, BusText(result)};
}

std::vector<Rule> ExplainCrossing(const KnownPeer& peer) {
    std::vector<Rule> rules;
    for (const auto& rule : KeyMouseServiceManager::GetInstance().ExplainCrossing(peer.udid)) {
        rules.emplace_back(rule.name, rule.holds, rule.isRequired);
    }
    return rules;
}

void SetScreenStatus(Linux::ScreenState& screen, int32_t status) {
    if (status != Linux::SCREEN_UNKNOWN && Linux::ToScreenStatus(status) == Linux::SCREEN_UNKNOWN) {
        throw ApiError("Failed", "a screen has no status " + std::to_string(status));
    }
    screen.Set(static_cast<ScreenStatus>(status));
}

}  // namespace

class CrossingApi::Adaptor final : public sdbus::AdaptorInterfaces<io::collaborationfwk::Crossing1_adaptor> {
public:
    Adaptor(sdbus::IConnection& connection, const std::string& objectPath, Options options)
        : AdaptorInterfaces(connection, sdbus::ObjectPath(objectPath)), options_(std::move(options)),
          device_(options_.device), calls_(options_.calls),
          listeners_(std::make_shared<CrossingListeners>(device_.bus)),
          binders_(std::make_shared<CrossingBinders>(device_.bus)) {
        registerAdaptor();
    }
    Adaptor(const Adaptor&) = delete;
    Adaptor& operator=(const Adaptor&) = delete;
    ~Adaptor() { unregisterAdaptor(); }

    void TellScreenChanged(ScreenStatus status) { emitScreenChanged(status); }

private:
    void AddListener(sdbus::Result<>&& result, std::string event, std::string connection) override {
        AnswerWhenDone(
            std::move(result), [this, caller = Caller(), event = std::move(event), connection = std::move(connection)] {
                listeners_->Add(caller, event, connection);
            });
    }

    void RemoveListener(sdbus::Result<>&& result, std::string event) override {
        AnswerWhenDone(std::move(result),
            [this, caller = Caller(), event = std::move(event)] { listeners_->Remove(caller, event); });
    }

    void SendRequest(sdbus::Result<int32_t, std::string>&& result, std::string request) override {
        ProgramCalls::Caller caller{Caller(), request.size()};
        calls_.Answer(
            std::move(result), std::move(caller), [request = std::move(request)] { return CarryOut(request); });
    }

    void Explain(sdbus::Result<std::vector<Rule>>&& result, std::string peer) override {
        calls_.Answer(std::move(result), {Caller(), peer.size()},
            [this, peer] { return std::tuple(ExplainCrossing(ChoosePeer(options_.peers(), peer))); });
    }

    void BindService(sdbus::Result<>&& result, bool bind) override {
        AnswerWhenDone(std::move(result), [this, caller = Caller(), bind] { binders_->Bind(caller, bind); });
    }

    void FindPeer(sdbus::Result<std::string, std::string>&& result, std::string peer) override {
        calls_.Answer(std::move(result), {Caller(), peer.size()}, [this, peer] {
            const KnownPeer found = ChooseDevice(options_.peers(), ThisDevice(), peer);
            return std::tuple(BusText(found.name), ShortId(found.udid));
        });
    }

    void GetSwitch(sdbus::Result<int32_t, bool, std::vector<PeerSwitch>>&& result, int32_t user) override {
        calls_.Answer(std::move(result), {Caller(), 0},
            [this, user] { return Host::GetSwitch(device_.users, user, options_.peers()); });
    }

    void SetSwitch(sdbus::Result<int32_t>&& result, bool on, int32_t user) override {
        calls_.Answer(std::move(result), {Caller(), 0},
            [this, on, user] { return std::tuple(Host::SetSwitch(device_.users, on, user)); });
    }

    void ListUsers(sdbus::Result<std::vector<User>>&& result) override {
        calls_.Answer(std::move(result), {Caller(), 0}, [this] { return std::tuple(Host::ListUsers(device_.users)); });
    }

    void SwitchUser(sdbus::Result<>&& result, int32_t user) override {
        AnswerWhenDone(std::move(result), [this, user] { device_.users.Switch(user); });
    }

    void MovePointer(sdbus::Result<>&& result, int32_t dx, int32_t dy) override {
        Feed(std::move(result), [dx, dy](ScriptedInput& input) { return input.Move(dx, dy); });
    }

    void MovePointerTo(sdbus::Result<>&& result, int32_t x, int32_t y) override {
        Feed(std::move(result), [x, y](ScriptedInput& input) { return input.MoveTo(x, y); });
    }

    void PressButton(sdbus::Result<>&& result, int32_t button, bool down) override {
        Feed(std::move(result),
            [button, down](ScriptedInput& input) { return down ? input.Press(button) : input.Release(button); });
    }

    void PressKey(sdbus::Result<>&& result, int32_t key, bool down) override {
        Feed(std::move(result), [key, down](ScriptedInput& input) { return input.Key(key, down); });
    }

    void SetScreen(sdbus::Result<>&& result, int32_t status) override {
        AnswerWhenDone(std::move(result), [this, status] { SetScreenStatus(device_.screen, status); });
    }

    void GetScreen(sdbus::Result<int32_t>&& result) override {
        calls_.Answer(std::move(result), {Caller(), 0},
            [this] { return std::tuple(static_cast<int32_t>(device_.screen.Get())); });
    }

    void GetDeskOptions(
        sdbus::Result<std::string, int32_t, int32_t, std::vector<int32_t>, bool, std::vector<int32_t>, bool>&& result)
        override {
        calls_.Answer(std::move(result), {Caller(), 0}, [this] {
            const DeskOptions& desk = options_.desk;
            return std::tuple(
                options_.display, desk.push, desk.corner, desk.modifier, desk.drags, desk.homeKeys, desk.clipboard);
        });
    }

    // The connection of the program that asks, while its request is taken.
    std::string Caller() const { return Client::CallingConnection(getObject()); }

    void AnswerWhenDone(sdbus::Result<>&& result, std::function<void()> operation) {
        calls_.Answer(std::move(result), {Caller(), 0}, [operation = std::move(operation)] {
            operation();
            return std::tuple();
        });
    }

    void Feed(sdbus::Result<>&& result, const std::function<bool(ScriptedInput&)>& event) {
        AnswerWhenDone(std::move(result), [this, event] {
            if (!event(device_.scriptedInput)) {
                throw ApiError("NotScripted", "the device reads the pointer and the keys of a real display");
            }
        });
    }

    const Options options_;
    Linux::LinuxDevice& device_;
    ProgramCalls& calls_;
    const std::shared_ptr<CrossingListeners> listeners_;
    const std::shared_ptr<CrossingBinders> binders_;
};

CrossingApi::CrossingApi(sdbus::IConnection& connection, const std::string& objectPath, Options options)
    : adaptor_(std::make_unique<Adaptor>(connection, objectPath, std::move(options))) {}

CrossingApi::~CrossingApi() = default;

void CrossingApi::TellScreenChanged(ScreenStatus status) {
    adaptor_->TellScreenChanged(status);
}

}  // namespace ZYNE::Host
