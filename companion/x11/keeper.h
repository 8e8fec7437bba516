// The companion's keeper: a process that lets go of the companion's keys and buttons when the companion has died.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include <xcb/xcb.h>

#include "companion/x11/keeper_board.h"
#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"

namespace ZYNE::Companion {

// The loop's thread. To tell it of a press costs a write to memory.
class Keeper {
public:
    // Starts `program`, and again should it end. `window` is of the X connection that injects: the keeper waits until
    // it is gone, and with it all that was sent over the connection. Throws std::runtime_error with one line.
    Keeper(Linux::EventLoop& loop, std::string program, std::string display, xcb_window_t window);
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;
    // Ends the keeper, at once or when it has let go of what is still marked.
    ~Keeper();

    // The display is gone, and nothing is down any more. No keeper is started again.
    void Stop();

    // `code` as the server counts; larger ones than there are do nothing.
    void MarkKey(uint32_t code, bool isDown) { Mark(board_->keys, code, isDown); }
    void MarkButton(uint32_t button, bool isDown);

    pid_t Pid() const { return pid_; }

private:
    void StartProgram();
    void OnEnd();
    void Mark(std::array<std::atomic<uint32_t>, KeeperBoard::KEYS / 32>& words, uint32_t code, bool isDown);

    Linux::EventLoop& loop_;
    const std::string program_;
    const std::string display_;
    const std::string window_;
    Linux::UniqueFd memory_;
    KeeperBoard* board_ = nullptr;  // mapped
    Linux::UniqueFd line_;
    pid_t pid_ = -1;
    Linux::EventLoop::Source ended_;
    Linux::EventLoop::Source again_;
};

}  // namespace ZYNE::Companion
