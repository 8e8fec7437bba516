// What the companion has pressed, where its keeper can read it after the companion's death.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace ZYNE::Companion {

// In memory that both processes share. The companion sets a bit before it presses, and clears it when the server has
// told of the release: what was sent but not read is lost when a client dies. Nobody else writes.
struct KeeperBoard {
    static constexpr uint32_t KEYS = 256;  // as the server counts them
    static constexpr uint32_t BUTTONS = 32;

    std::array<std::atomic<uint32_t>, KEYS / 32> keys;
    std::atomic<uint32_t> buttons;
};

inline bool IsEmpty(const KeeperBoard& board) {
    for (const auto& word : board.keys) {
        if (word != 0) {
            return false;
        }
    }
    return board.buttons == 0;
}

static_assert(std::atomic<uint32_t>::is_always_lock_free);

// Where the keeper finds, from its start on, the board and the end of the line whose other end the companion holds.
// Its arguments are the display and the number of a window of the companion.
inline constexpr int KEEPER_LINE_FD = 3;
inline constexpr int KEEPER_BOARD_FD = 4;

}  // namespace ZYNE::Companion
