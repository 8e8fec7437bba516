// Takes what peers publish, and keeps it while they are away.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

#include "linux/network/profile/profile.pb.h"
#include "linux/network/profile/profile_feed.h"
#include "linux/network/profile/profile_share.h"
#include "linux/profile/profile_network.h"

namespace ZYNE::Linux {

// One thread at a time.
//
// What a peer that is away has published is not known then, but its records stay here: when it comes back in the same
// run it sends only what has changed. How much one peer may publish is the inlet's to decide; what that
// refuses is not kept.
class ProfileInbox {
public:
    using Clock = std::chrono::steady_clock;

    // What peers that are away have published is kept for so long, and so much of it.
    static constexpr std::chrono::minutes KEPT_TIME{10};
    static constexpr size_t KEPT_BYTES = size_t{64} << 20U;

    // `now` is the time. `onExcess` is called for each change by which a peer is over its share.
    ProfileInbox(ProfileInlet& inlet, std::function<Clock::time_point()> now,
        std::function<void(const std::string& udid)> onExcess)
        : inlet_(inlet), now_(std::move(now)), onExcess_(std::move(onExcess)) {}

    // A peer has a link, and is told what is kept of it; or has none any more.
    void OnUp(const std::string& udid, ProfileSend send);
    void OnDown(const std::string& udid);
    // What the peer says. False when it makes no sense, or the link does not take the answer.
    bool OnStart(const std::string& udid, const Wire::ProfileStart& start);
    bool OnChange(const std::string& udid, const Wire::ProfileChange& change);

    // Forgets what is kept for too long; to be called now and then.
    void DropOld();
    size_t KeptBytes() const { return keptBytes_; }  // of peers that are away

private:
    // More deletions that have overtaken a value no device has at a time: all its values together have no more frames.
    static constexpr size_t MAX_OVERTAKING = 2048;
    // What a record costs beside its bytes, about.
    static constexpr size_t RECORD_BYTES = 256;
    static constexpr size_t MAX_RUN_BYTES = 64;

    enum class Result { APPLIED, REFUSED, NONSENSE };

    struct Held {
        RecordPtr record;
        uint64_t sequence;
    };
    struct Link {
        ProfileSend send;
        WriterId writer;
        ProfileShare share;
        bool hasStarted = false;
    };
    struct Peer {
        std::string run;                            // of the peer, that all of this is from
        uint64_t floor = 1;                         // every older change is here
        uint64_t snapshotEnd = 0;                   // no deletion up to here matters
        std::map<ProfileName, Held> records{};      // what is known, or was when it went
        std::map<ProfileName, uint64_t> deleted{};  // of which older values may still arrive, with the sequence
        bool isTooLong = false;                     // it has sent a name or value that is too long
        std::optional<Link> link{};                 // while it is there
        Clock::time_point left{};                   // while it is away, from here on
        size_t keptBytes = 0;
        std::list<std::string>::iterator place{};  // in away_
    };

    Result Apply(const std::string& udid, Peer& peer, const Wire::ProfileChange& change);
    Result Delete(const std::string& udid, Peer& peer, const Wire::ProfileChange& change, const ProfileName& name);
    Result Put(const std::string& udid, Peer& peer, const Wire::ProfileChange& change, const ProfileName& name);
    bool IsTooLong(const std::string& udid, Peer& peer, const Wire::ProfileChange& change);
    Peer* FindThere(const std::string& udid);

    ProfileInlet& inlet_;
    const std::function<Clock::time_point()> now_;
    const std::function<void(const std::string& udid)> onExcess_;
    std::unordered_map<std::string, Peer> peers_;  // by udid
    std::list<std::string> away_;                  // those of them without a link; who left first is in front
    size_t keptBytes_ = 0;                         // of those
    WriterId lastWriter_ = 0;
};

}  // namespace ZYNE::Linux
