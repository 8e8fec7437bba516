// What people should know of the device itself, told in its status while it lasts: a disk that is full, a database that
// was damaged.
#pragma once

#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <vector>

namespace ZYNE::Linux {

// Any thread. A leaf in the order of locks.
class DeviceNotes {
public:
    struct Note {
        std::string kind;   // disk, damaged, profile or log
        std::string about;  // what it is about: one note for each kind and each of these
        std::string text;   // one line
    };

    // More are not kept: the oldest goes.
    static constexpr size_t MOST = 32;

    // Takes the place of the earlier one of that kind about that.
    void Set(const std::string& kind, const std::string& about, const std::string& text) {
        const std::scoped_lock lock(mutex_);
        Remove(kind, about);
        notes_.push_front({kind, about, text});
        if (notes_.size() > MOST) {
            notes_.pop_back();
        }
    }

    // It is so no more. Does nothing when there is no such note.
    void Clear(const std::string& kind, const std::string& about) {
        const std::scoped_lock lock(mutex_);
        Remove(kind, about);
    }

    // The latest first.
    std::vector<Note> All() const {
        const std::scoped_lock lock(mutex_);
        return {notes_.begin(), notes_.end()};
    }

private:
    void Remove(const std::string& kind, const std::string& about) {
        notes_.remove_if([&](const Note& note) { return note.kind == kind && note.about == about; });
    }

    mutable std::mutex mutex_;
    std::list<Note> notes_;  // guarded by mutex_
};

}  // namespace ZYNE::Linux
