// The process of an app that uses shared data: what it does is its first argument, the URI its second.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "client/data_share.h"

namespace {

using namespace ZYNE;

void Say(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

class Watcher final : public DataShareObserver {
    void OnChange(const ChangeInfo& info) override { Say("told of " + std::to_string(info.size) + " bytes"); }
};

// Rows that are called `prefix` and a number.
void Insert(DataShareHelper& helper, const std::string& uri, const std::string& prefix, int count) {
    for (int i = 0; i < count; ++i) {
        DataShareValuesBucket row;
        row.Put("KEYWORD", prefix + std::to_string(i));
        row.Put("VALUE", std::to_string(i));
        if (helper.Insert(Uri(uri), row) != 1) {
            Say("insert failed");
        }
    }
}

// Notices of `size` bytes, the first of which tells the number of the notice.
void Announce(DataShareHelper& helper, const std::string& uri, size_t size, int count) {
    for (int i = 0; i < count; ++i) {
        const std::string data = static_cast<char>(i) + std::string(size - 1, '\0');
        DataShareObserver::ChangeInfo info;
        info.changeType = DataShareObserver::ChangeType::UPDATE;
        info.uris = {Uri(uri)};
        info.data = data.data();
        info.size = static_cast<uint32_t>(data.size());
        helper.NotifyChangeExt(info);
    }
}

}  // namespace

int main(int /*count*/, char** arguments) {
    const std::string action = arguments[1];
    const std::string uri = arguments[2];
    const auto helper = Client::OpenDataShare(uri);
    if (helper == nullptr) {
        return 1;
    }
    if (action == "watch") {
        helper->RegisterObserverExt(Uri(uri), std::make_shared<Watcher>(), true);
    } else if (action == "insert") {
        Insert(*helper, uri, arguments[3], std::stoi(arguments[4]));
    } else {
        Announce(*helper, uri, std::stoul(arguments[3]), std::stoi(arguments[4]));
    }
    Say("done");
    pause();
}
