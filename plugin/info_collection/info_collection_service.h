// Asks peers for dynamic info and waits for their answers.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/host/device_info.h"
#include "platform/host/session_manager.h"
#include "plugin/export.h"
#include "plugin/info_collection/device_dynamic_info.h"
#include "plugin/utils/singleton.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Lock order: mutex_, then resultMutex_; idMutex_ is never held together with either.
class InfoCollectionService {
public:
    CFWK_EXPORT static InfoCollectionService& GetInstance();

    // Asks `device` for `keys` and blocks until it answers, for at most five seconds after the request was sent.
    // Appends one record per answered name to `result`, in no particular order. A peer answers each name once, so keys
    // that repeat a name never get a valid answer.
    // 0; 2201 no answer in time; 2203 not sent; 2205 the names answered are not the names asked for.
    CFWK_EXPORT int32_t GetRemoteDeviceDynamicInfo(DeviceInfo& device, const std::string& callerString,
        const std::vector<std::string>& keys, std::vector<DeviceDynamicInfo>& result);

    // Stores a peer's answer to the request `id`, in place of an earlier one, and wakes whoever waits for it.
    // 0; 2204 nobody waits for it.
    int32_t SetDynamicInfo(uint32_t id, std::unordered_map<std::string, std::string>& info);

    // Whether the request `id` is outstanding.
    bool IsCollaborationIdExist(uint32_t id);

    // Whether the stored answer to `id` has exactly the names `keys`.
    bool IsValidDynamicInfoResult(uint32_t id, const std::vector<std::string>& keys);

    // Forgets the request `id` and its answer.
    void EraseCollaborationId(uint32_t id);

private:
    friend class Singleton<InfoCollectionService>;
    using Answer = std::unordered_map<std::string, std::string>;

    InfoCollectionService();
    ~InfoCollectionService();

    void AddCollaborationId(uint32_t id);
    bool WaitForAnswer(uint32_t id);
    // Appends the answer's records when it is valid.
    bool TakeAnswer(uint32_t id, const std::vector<std::string>& keys, std::vector<DeviceDynamicInfo>& result);
    // `answer` is null when there is none. With resultMutex_ held.
    static bool IsValidDynamicInfoResult(uint32_t id, const std::vector<std::string>& keys, const Answer* answer);
    // Null when there is none. With resultMutex_ held.
    const Answer* FindAnswer(uint32_t id) const;
    // False when the request was given up meanwhile.
    bool StoreAnswer(uint32_t id, const std::shared_ptr<Answer>& answer);
    // False when it has been taken or replaced already.
    bool TakeBackAnswer(uint32_t id, const std::shared_ptr<Answer>& answer);
    void DropAnswer(uint32_t id);

    std::mutex mutex_;  // a requester waits under it; whoever changes dynamicInfoResults_ passes through it
    std::shared_mutex idMutex_;
    std::shared_mutex resultMutex_;
    std::condition_variable cv_;                     // an answer has been stored
    std::unordered_set<uint32_t> collaborationIds_;  // guarded by idMutex_
    // Written under mutex_ and resultMutex_, read under either.
    std::unordered_map<uint32_t, std::shared_ptr<Answer>> dynamicInfoResults_;
};

}  // namespace ZYNE::CollaborationFwk
