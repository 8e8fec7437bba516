// A channel's end at the app: a SOCK_SEQPACKET socket whose other end the app has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"
#include "linux/network/channel/channel_kind.h"

namespace ZYNE::Linux {

// What an AppSocket tells, on the loop's thread. It may be closed in there.
class AppSocketUser {
public:
    // How many messages are taken now. When it is none, nothing is read until Resume.
    virtual size_t MayRead() = 0;
    virtual void OnAppMessage(std::string_view message) = 0;
    // There is room again after a Send that had none.
    virtual void OnAppRoom() = 0;
    // The app has closed its end, and all that it sent before has been read; or it has sent what is no message, which
    // `fault` says then, null otherwise.
    virtual void OnAppGone(const char* fault) = 0;

protected:
    ~AppSocketUser() = default;
};

// The loop's thread. Its user owns it.
class AppSocket {
public:
    // As many are read before others on the loop get their turn.
    static constexpr size_t MAX_READ = 8;

    enum class Sent { YES, NO_ROOM, GONE };

    // Both ends; the app's is in `app`. Throws std::runtime_error.
    AppSocket(EventLoop& loop, ChannelKind kind, UniqueFd& app);

    void Start(std::weak_ptr<AppSocketUser> user);
    // GONE when the app takes nothing any more; what it has sent may still come.
    Sent Send(std::string_view message);
    // The user may take messages again.
    void Resume();
    // The app reads what it was sent, then the end; what it has sent and was not read is lost.
    void Close();

private:
    void Watch();
    void OnEvents(AppSocketUser& user, uint32_t events);
    void Read(AppSocketUser& user, bool hasEnded);
    uint32_t Wanted() const;

    EventLoop& loop_;
    UniqueFd socket_;
    std::weak_ptr<AppSocketUser> user_;
    EventLoop::Source source_;
    bool isPaused_ = false;
    bool waitsForRoom_ = false;
};

}  // namespace ZYNE::Linux
