#include "linux/fabric/profile_writer.h"

#include <chrono>

#include "linux/fabric/fabric_log.h"
#include "linux/fabric/guarded_call.h"
#include "linux/fabric/qos.h"
#include "linux/fabric/wire.h"
#include "linux/fabric/wire_text.h"

namespace ZYNE::Linux {
namespace {

using Sample = ZYNE_Linux_Wire_Profile;

// Between two attempts.
constexpr std::chrono::milliseconds PAUSE{100};

}  // namespace

ProfileWriter::ProfileWriter(const FabricDomain& domain, const std::string& partition)
    : writer_(
          dds_create_writer(domain.Participant(), domain.ProfileTopic(), ProfileWriterQos(partition).get(), nullptr),
          "profiles cannot be published"),
      thread_([this] { GuardedCall("publishing profiles", [this] { SendLater(); }); }) {}

void ProfileWriter::Publish(const RecordPtr& record, bool isDeleted) {
    const State state{record, isDeleted};
    {
        const std::scoped_lock lock(mutex_);
        if (!unsent_.empty()) {
            unsent_.insert_or_assign(ProfileName(*record), state);
            return;
        }
    }
    if (const dds_return_t result = Write(state); result != DDS_RETCODE_OK) {
        FabricPrint(LogLevel::WARN, "profiles are published later: %{public}s", dds_strretcode(result));
        const std::scoped_lock lock(mutex_);
        unsent_.emplace(ProfileName(*record), state);
        wake_.notify_one();
    }
}

dds_return_t ProfileWriter::Write(const State& state) const {
    const CharacteristicProfile& profile = state.record->profile;
    const std::string& value = profile.GetCharacteristicValue();
    Sample sample{};
    sample.kind = static_cast<uint8_t>(state.record->kind);
    sample.userId = profile.GetUserId();
    sample.isDeleted = state.isDeleted;
    if (!CopyText(profile.GetDeviceId(), sample.udid) || !CopyText(profile.GetServiceName(), sample.service) ||
        !CopyText(profile.GetCharacteristicKey(), sample.characteristic)) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (state.isDeleted) {
        return dds_writedispose(writer_.Get(), &sample);
    }
    // The library takes no pointer to constants, but does not change what it sends.
    sample.value._buffer = reinterpret_cast<uint8_t*>(const_cast<char*>(value.data()));
    sample.value._length = static_cast<uint32_t>(value.size());
    sample.value._maximum = sample.value._length;
    return dds_write(writer_.Get(), &sample);
}

void ProfileWriter::SendLater() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        if (unsent_.empty()) {
            wake_.wait(lock);
            continue;
        }
        const auto [name, state] = *unsent_.begin();
        lock.unlock();
        const bool isSent = Write(state) == DDS_RETCODE_OK;
        lock.lock();
        if (!isSent) {
            wake_.wait_for(lock, PAUSE, [this] { return stopping_; });
        } else if (const auto sent = unsent_.find(name); sent->second == state) {
            unsent_.erase(sent);
        }
    }
}

void ProfileWriter::Stop() {
    {
        const std::scoped_lock lock(mutex_);
        stopping_ = true;
        wake_.notify_one();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

}  // namespace ZYNE::Linux
