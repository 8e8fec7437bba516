// The displays that there are, and which one a point is on.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/desktop/input_event.h"
#include "platform/display/display.h"

namespace ZYNE::Linux {

// Where one display lies on the desktop, in pixels.
struct DisplayArea {
    std::string name;
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t height = 0;
    bool isPrimary = false;

    bool Contains(DesktopPoint point) const {
        return point.x >= x && point.y >= y && point.x < x + width && point.y < y + height;
    }
};

// Any thread.
//
// Holds the displays of the X server, and scripted ones that are used while there is no server. A display's id depends
// on its name and size: it stays the same when the display goes and comes back, and changes with the size.
class DisplayTable {
public:
    // Nothing means that there is no server.
    void SetServer(const std::optional<std::vector<DisplayArea>>& displays);
    void SetScripted(const std::vector<DisplayArea>& displays);
    bool HasServer() const;

    // The primary display, otherwise the first one; null when there is none.
    sptr<Display> Default() const;
    sptr<Display> Find(uint64_t id) const;

    // `point` on the display that contains it; if several do, on the first.
    DisplayPlace Locate(DesktopPoint point) const;

    // `to` if it is on a display, otherwise the nearest point to it on the display of `from`, or on the first one.
    // Without displays, `from`.
    DesktopPoint Confine(DesktopPoint from, DesktopPoint to) const;

private:
    struct Entry {
        int32_t id;
        DisplayArea area;
    };
    using Entries = std::vector<Entry>;

    Entries Number(const std::vector<DisplayArea>& displays) REQUIRES(mutex_);
    int32_t IdOf(const DisplayArea& area) REQUIRES(mutex_);
    const Entries& Current() const REQUIRES(mutex_);
    static sptr<Display> MakeDisplay(const Entry& entry);

    mutable Mutex mutex_;
    std::map<std::tuple<std::string, int32_t, int32_t>, int32_t> ids_ GUARDED_BY(mutex_);  // by name, width, height
    int32_t lastId_ GUARDED_BY(mutex_) = 0;
    std::optional<Entries> server_ GUARDED_BY(mutex_);
    Entries scripted_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
