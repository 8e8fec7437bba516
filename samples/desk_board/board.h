// The board: one note that people leave at a desk, kept in the app's shared data.
#pragma once

#include <memory>
#include <string>

#include "platform/datashare/data_share_helper.h"

namespace Sample {

// Any thread.
class Board {
public:
    // What other devices call the note; "dataShareUri" of it in info_collection.json is the URI.
    static constexpr char FACT[] = "board.note";
    static constexpr char URI[] = "datashare:///org.example.deskboard/board";

    explicit Board(std::shared_ptr<ZYNE::DataShareHelper> data) : data_(std::move(data)) {}

    // Empty when there is none.
    std::string Read() const;

    // Keeps the note and announces it, whereupon the device publishes it. False when it cannot be kept.
    bool Write(const std::string& note) const;

private:
    const std::shared_ptr<ZYNE::DataShareHelper> data_;
};

}  // namespace Sample
