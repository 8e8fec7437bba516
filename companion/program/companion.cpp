#include "companion/program/companion.h"

#include <cstdio>
#include <ctime>
#include <stdexcept>
#include <utility>

#include "companion/placements/placement_book.h"
#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Companion {
namespace {

using namespace std::chrono_literals;

constexpr LogDomain LOG = Linux::LogDomains::COMPANION;
constexpr auto RETRY_TIME = 2s;  // until the display is looked for again

std::string WordOf(Passage::Kind kind) {
    switch (kind) {
    case Passage::Kind::ENTERED:
        return "entered";
    case Passage::Kind::CAME_HOME:
        return "home";
    case Passage::Kind::GUEST_CAME:
        return "guest";
    case Passage::Kind::GUEST_LEFT:
        return "guest-left";
    default:
        return "refused";
    }
}

}  // namespace

Companion::Companion(const CompanionOptions& options)
    : options_(options), desk_(Client::Device(options.device).Crossing().GetDeskOptions()), requests_(options.device),
      service_(options.device, MakeServiceHandlers()), follower_(options.device, MakeFollowerHandlers()) {}

Companion::~Companion() {
    loop_.Run([this] {
        isEnding_ = true;
        retry_ = {};
        session_.reset();
    });
}

FollowerHandlers Companion::MakeFollowerHandlers() {
    FollowerHandlers handlers;
    handlers.changed = [this](const Surroundings& around) {
        loop_.Post([this, around] { OnSurroundings(around); });
    };
    handlers.ended = [this] {
        loop_.Post([this] {
            around_.reset();
            CloseSession("the device has ended");
        });
    };
    handlers.peerScreen = [this](const std::string& peer, bool isLocked) {
        loop_.Post([this, peer, isLocked] {
            if (session_) {
                session_->OnPeerScreen(peer, isLocked);
            }
        });
    };
    handlers.peerSwitchedOff = [this](const std::string& peer) {
        loop_.Post([this, peer] {
            if (session_) {
                session_->OnPeerSwitchedOff(peer);
            }
        });
    };
    return handlers;
}

DeskService::Handlers Companion::MakeServiceHandlers() {
    DeskService::Handlers handlers;
    handlers.state = [this] {
        Client::DeskState state{"home", "", 0, 0, -1};
        loop_.Run([&] { state = GetState(); });
        return state;
    };
    handlers.bringHome = [this] {
        return BringHome();
    };
    handlers.explain = [this](const std::string& peer) {
        std::vector<Client::DeskFact> facts;
        loop_.Run([&] { facts = Explain(peer); });
        return facts;
    };
    return handlers;
}

bool Companion::BringHome() {
    bool hasMoved = false;
    loop_.Run([&] { hasMoved = session_ && session_->BringHome(); });
    return hasMoved;
}

void Companion::OnSurroundings(const Surroundings& around) {
    around_ = around;
    if (session_) {
        session_->OnSurroundings(around);
    } else {
        OpenSession();
    }
}

void Companion::OpenSession() {
    retry_ = {};
    if (session_ || !around_ || isEnding_) {
        return;
    }
    try {
        session_ = std::make_unique<Session>(
            Session::Options{loop_, requests_, options_.app, options_.keeper, desk_,
                [this](const Passage& passage) { OnPassage(passage); },
                [this](const std::vector<Screen>& screens) { follower_.PublishScreens(WriteScreens(screens)); },
                [this](const std::string& reason) {
                    loop_.Post([this, reason] { CloseSession(reason); });
                }},
            *around_);
        trouble_.clear();
    } catch (const std::runtime_error& error) {
        CloseSession(error.what());
    }
}

void Companion::CloseSession(const std::string& reason) {
    if (trouble_ != reason) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "the pointer stays here: %{public}s", reason);
        trouble_ = reason;
    }
    session_.reset();
    follower_.PublishScreens(WriteScreens({}));
    retry_ = loop_.After(RETRY_TIME, [this] { OpenSession(); });
}

void Companion::OnPassage(const Passage& passage) {
    std::string why = Words(passage.reason);
    if (!passage.words.empty()) {
        why += ": " + passage.words;
    }
    service_.Tell({WordOf(passage.kind), passage.peer, why});
}

Client::DeskState Companion::GetState() const {
    return session_ ? session_->GetState() : Client::DeskState{"home", "", 0, 0, -1};
}

std::vector<Client::DeskFact> Companion::Explain(const std::string& peer) const {
    return session_ ? session_->Explain(peer) : std::vector<Client::DeskFact>{{"this device has a display", false}};
}

}  // namespace ZYNE::Companion
