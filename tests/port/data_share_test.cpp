// Shared data on a real bus, with other processes that use it.
#include <atomic>
#include <csignal>
#include <iterator>
#include <latch>
#include <semaphore>

#include "linux/base/database.h"
#include "linux/bus/bus_address.h"
#include "linux/datashare/data_share_service.h"
#include "linux/datashare/share_limits.h"
#include "linux/datashare/share_observers.h"
#include "linux/services/system_abilities.h"
#include "platform/host/data_share_utils.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

using CollaborationFwk::DataShareUtils;
using Testing::Process;

using Row = std::map<std::string, std::string>;
using Table = std::vector<std::vector<std::string>>;

constexpr char DESK[] = "datashare:///org.example.desk";
constexpr char NOTES[] = "datashare:///org.example.desk/notes";
constexpr char SETTINGS[] = "datashare:///com.zyne.settingsdata/entry/settingsdata/SETTINGSDATA?Proxy=true";
constexpr char SECURE[] = "datashare:///com.zyne.settingsdata/entry/settingsdata/USER_SETTINGSDATA_SECURE_";
constexpr char NO_CELL[] = "(none)";

DataShareValuesBucket Values(const Row& row) {
    DataShareValuesBucket values;
    for (const auto& [column, value] : row) {
        values.Put(column, value);
    }
    return values;
}

DataSharePredicates Where(const Row& conditions) {
    DataSharePredicates predicates;
    for (const auto& [column, value] : conditions) {
        predicates.EqualTo(column, value);
    }
    return predicates;
}

DataShareObserver::ChangeInfo Change(const std::vector<std::string>& uris, const std::string& data) {
    DataShareObserver::ChangeInfo info;
    info.uris.insert(info.uris.end(), uris.begin(), uris.end());
    info.data = data.data();
    info.size = static_cast<uint32_t>(data.size());
    return info;
}

class Listener final : public DataShareObserver {
public:
    void OnChange(const ChangeInfo& info) override {
        type = info.changeType;
        told.Add(std::string(static_cast<const char*>(info.data), info.size));
        if (throws) {
            throw std::runtime_error("an observer's own trouble");
        }
    }

    Told<std::string> told;
    std::atomic<ChangeType> type = ChangeType::INSERT;
    std::atomic<bool> throws = false;
};

// Keeps how large each notice is, and blocks until `gate`.
class BlockingListener final : public DataShareObserver {
public:
    void OnChange(const ChangeInfo& info) override {
        told.Add(info.size);
        inside();
        gate.wait();
    }

    Told<size_t> told;
    std::function<void()> inside = [] {
    };
    std::latch gate{1};
};

// Blocks in each call beyond `permits`.
class RowListener final : public DataAbilityObserverStub {
public:
    explicit RowListener(int permits = 1000) : go(permits) {}
    void OnChange() override {
        ++calls;
        go.acquire();
    }

    std::atomic<int> calls = 0;
    std::counting_semaphore<> go;
};

class SharedData : public BusTest {
protected:
    SharedData() {
        device.abilities->AddLocalAbility(DataShareService::SYSTEM_ABILITY_ID, device.dataShare->AsObject());
        device.dataShare->Start(directory / "datashare.db", {DESK});
        setenv("DBUS_STARTER_ADDRESS", device.bus.GetAddress().c_str(), 1);
        helper = Helper(DESK);
    }

    static std::shared_ptr<DataShareHelper> Helper(const std::string& uri) {
        return DataShareUtils::GetDataShareHelper(uri, DataShareService::SYSTEM_ABILITY_ID);
    }
    // Every row that was found, or a word for the failure.
    Table Query(const std::string& uri, const Row& conditions, const std::vector<std::string>& columns, size_t width) {
        const auto found = helper->Query(Uri(uri), Where(conditions), columns);
        int count = 0;
        if (!found || found->GetRowCount(count) != 0) {
            return {{"failed"}};
        }
        Table table(static_cast<size_t>(count));
        for (int row = 0; row < count; ++row) {
            EXPECT_EQ(found->GoToRow(row), 0);
            for (size_t column = 0; column < width; ++column) {
                std::string value = NO_CELL;
                found->GetString(static_cast<int>(column), value);
                table[static_cast<size_t>(row)].push_back(value);
            }
        }
        EXPECT_EQ(found->Close(), 0);
        EXPECT_NE(found->Close(), 0);
        return table;
    }
    int32_t Insert(const Row& row, const std::string& uri = NOTES) const {
        return helper->Insert(Uri(uri), Values(row));
    }
    int32_t Update(const Row& conditions, const Row& row, const std::string& uri = NOTES) const {
        return helper->Update(Uri(uri), Where(conditions), Values(row));
    }
    std::shared_ptr<Listener> Listen(const std::string& uri, bool descendants = false) const {
        auto listener = std::make_shared<Listener>();
        helper->RegisterObserverExt(Uri(uri), listener, descendants);
        return listener;
    }
    void Announce(const std::string& uri, const std::string& data) const {
        helper->NotifyChangeExt(Change({uri}, data));
    }

    // A process of an app, which prints to the file `name`.
    std::unique_ptr<Process> StartApp(const std::string& name, std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), SHARE_APP);
        return std::make_unique<Process>(arguments, directory / name);
    }
    bool Prints(const std::string& name, const std::string& text) const {
        return Eventually([&] {
            std::ifstream file(directory / name);
            return std::string(std::istreambuf_iterator<char>(file), {}).find(text) != std::string::npos;
        });
    }

    std::shared_ptr<DataShareHelper> helper;
};

TEST_F(SharedData, KeepsOneRowForEachNameAndGivesTheColumnsThatAreAskedFor) {
    EXPECT_EQ(Insert({{"KEYWORD", "a"}, {"VALUE", "1"}, {"more", "x"}}), 1);
    EXPECT_EQ(Insert({{"device1", "facts"}}), 1);
    EXPECT_EQ(Insert({{"device2", "facts"}}), 1);
    EXPECT_EQ(Insert({{"KEYWORD", "b"}, {"VALUE", "1"}}), 1);
    EXPECT_EQ(Insert({{"KEYWORD", "a"}, {"VALUE", "2"}}), 1);
    EXPECT_EQ(Insert({{"device1", "newer facts"}}), 1);

    EXPECT_EQ(Query(NOTES, {}, {"VALUE", "KEYWORD", "more"}, 3), (Table{{"2", "a", NO_CELL}, {"1", "b", NO_CELL}}));
    EXPECT_EQ(Query(NOTES, {}, {"device1"}, 1), (Table{{"newer facts"}}));
    EXPECT_EQ(Query(NOTES, {{"KEYWORD", "b"}}, {"device1"}, 1), Table());
    EXPECT_EQ(Query(NOTES, {{"VALUE", "1"}}, {"KEYWORD", "none"}, 2), (Table{{"b", NO_CELL}}));
    EXPECT_EQ(Query(NOTES, {{"device1", "newer facts"}}, {}, 1), (Table{{"newer facts"}}));
    EXPECT_EQ(Query(NOTES, {{"KEYWORD", "b"}, {"VALUE", "1"}}, {}, 3), (Table{{"b", "1", NO_CELL}}));
    EXPECT_EQ(Query(NOTES, {{"KEYWORD", "b"}, {"VALUE", "2"}}, {}, 2), Table());
    EXPECT_EQ(Query(DESK, {}, {}, 1), Table());

    const auto found = helper->Query(Uri(NOTES), {}, {"VALUE"});
    std::string value;
    EXPECT_NE(found->GetString(0, value), 0);
    EXPECT_NE(found->GoToRow(2), 0);
    EXPECT_NE(found->GoToRow(-1), 0);
    EXPECT_EQ(found->GoToRow(0), 0);
    EXPECT_NE(found->GetString(1, value), 0);
}

TEST_F(SharedData, UpdatesTheRowsThatAreMeantAndNeverAddsOne) {
    Insert({{"KEYWORD", "a"}, {"VALUE", "1"}, {"more", "x"}});
    Insert({{"KEYWORD", "b"}, {"VALUE", "1"}});
    EXPECT_EQ(Update({{"KEYWORD", "c"}}, {{"KEYWORD", "c"}, {"VALUE", "1"}}), 0);
    EXPECT_EQ(Update({{"VALUE", "1"}}, {{"VALUE", "2"}}), 2);
    EXPECT_EQ(Update({{"KEYWORD", "b"}}, {{"KEYWORD", "c"}}), 1);
    EXPECT_EQ(Update({{"KEYWORD", "c"}}, {{"VALUE", "3"}}), 1);
    EXPECT_EQ(Update({}, {{"KEYWORD", "same"}}), SHARE_NAME_TAKEN);
    EXPECT_EQ(Query(NOTES, {}, {}, 3), (Table{{"a", "2", "x"}, {"c", "3", NO_CELL}}));
}

TEST_F(SharedData, ReachesASettingByEveryFormOfItsUri) {
    helper = Helper(SECURE);
    ASSERT_NE(helper, nullptr);
    const std::string table = std::string(SECURE) + "100?Proxy=true";
    std::string value;
    EXPECT_NE(DataShareUtils::QueryStringValue(table, "state", value), 0);
    EXPECT_EQ(Insert({{"KEYWORD", "state"}, {"VALUE", "0"}}, table), 1);
    EXPECT_EQ(Update({{"KEYWORD", "state"}}, {{"KEYWORD", "state"}, {"VALUE", "1"}}, table + "&&key=state"), 1);
    EXPECT_EQ(DataShareUtils::QueryStringValue(table, "state", value), 0);
    EXPECT_EQ(value, "1");
    EXPECT_NE(DataShareUtils::QueryStringValue(SETTINGS, "state", value), 0);
    EXPECT_NE(DataShareUtils::QueryStringValue("datashare:///org.nobody", "state", value), 0);
}

TEST_F(SharedData, TakesAnyBytesWithinItsLimits) {
    const std::vector<std::string> hostile = {"'; DROP TABLE row; --", "%_*?", std::string("a\0b", 3), "\xff\xfe", "\"",
        "", std::string(ShareLimits::VALUE, 'x')};
    for (const std::string& text : hostile) {
        const std::string column = text.empty() || text.size() > ShareLimits::NAME ? "column" : text;
        EXPECT_EQ(Insert({{column, text}, {"id", text}}), 1);
        EXPECT_EQ(Query(NOTES, {{column, text}, {"id", text}}, {column}, 1), (Table{{text}}));
    }
    EXPECT_EQ(Query(NOTES, {{"id", "a"}}, {}, 1), Table());
    EXPECT_EQ(Query(NOTES, {{"id", "%"}}, {}, 1), Table());

    EXPECT_EQ(Insert({}), SHARE_BAD_ROW);
    EXPECT_EQ(Insert({{"", "x"}}), SHARE_BAD_ROW);
    EXPECT_EQ(Insert({{"x", std::string(ShareLimits::VALUE + 1, 'x')}}), SHARE_BAD_ROW);
    EXPECT_EQ(Insert({{"KEYWORD", std::string(ShareLimits::NAME + 1, 'x')}}), SHARE_BAD_ROW);
    const std::string& large = hostile.back();
    EXPECT_EQ(Insert({{"1", large}, {"2", large}, {"3", large}, {"4", large}, {"5", "x"}}), SHARE_BAD_ROW);
    EXPECT_EQ(Insert({{"x", "y"}}, NOTES + std::string(ShareLimits::URI, 'x')), SHARE_BAD_URI);
}

TEST_F(SharedData, TakesNoMoreRowsThanItsLimitAndGivesNoMoreThanAResultHolds) {
    SQLite::Database file((directory / "datashare.db").string(), SQLite::OPEN_READWRITE);
    const std::string others = std::to_string(ShareLimits::ROWS - 1);
    file.exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + others +
        ") INSERT INTO row (share, name) SELECT CAST('" + NOTES + "' AS BLOB), CAST('k' || i AS BLOB) FROM n");
    file.exec("INSERT INTO cell SELECT id, CAST('KEYWORD' AS BLOB), name FROM row");
    EXPECT_EQ(Insert({{"KEYWORD", "last"}}), 1);
    EXPECT_EQ(Insert({{"KEYWORD", "too many"}}), SHARE_FULL);
    EXPECT_EQ(Insert({{"KEYWORD", "last"}, {"VALUE", "replaced"}}), 1);
    EXPECT_EQ(Query(NOTES, {}, {}, 0).size(), ShareLimits::ROWS);

    file.exec("INSERT INTO cell SELECT id, CAST('x' AS BLOB), zeroblob(4194304) FROM row LIMIT 17");
    EXPECT_EQ(Query(NOTES, {}, {}, 1), (Table{{"failed"}}));
    EXPECT_EQ(Query(NOTES, {{"KEYWORD", "last"}}, {"VALUE"}, 1), (Table{{"replaced"}}));
}

TEST_F(SharedData, ChangesNothingAndTellsNobodyOfWhatTheStoreDoesNotKeep) {
    Insert({{"KEYWORD", "a"}, {"VALUE", "1"}});
    SQLite::Database((directory / "datashare.db").string(), SQLite::OPEN_READWRITE)
        .exec("CREATE TRIGGER no_cell BEFORE INSERT ON cell WHEN NEW.value = CAST('bad' AS BLOB) "
              "BEGIN SELECT RAISE(ABORT, 'no'); END");
    const auto any = MakeSptr<RowListener>();
    const auto last = MakeSptr<RowListener>();
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES), any), 0);
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES + std::string("?key=last")), last), 0);
    EXPECT_EQ(Insert({{"KEYWORD", "b"}, {"VALUE", "bad"}}), SHARE_STORE_FAILED);
    EXPECT_EQ(Update({{"KEYWORD", "a"}}, {{"KEYWORD", "b"}, {"VALUE", "bad"}}), SHARE_STORE_FAILED);
    EXPECT_EQ(Query(NOTES, {}, {}, 2), (Table{{"a", "1"}}));
    EXPECT_EQ(Insert({{"KEYWORD", "last"}}), 1);
    EXPECT_TRUE(Eventually([&] { return last->calls == 1 && any->calls == 1; }));
}

TEST_F(SharedData, ServesWhatAppsDeclareWithAllBelowAndTheSettingsAlone) {
    for (const std::string served : {DESK, NOTES, SETTINGS, SECURE, "datashare:///com.zyne.settingsdata"}) {
        EXPECT_NE(Helper(served), nullptr) << served;
    }
    for (const std::string other : {"datashare:///org.example.desktop", "datashare:///org.example", "datashare:///",
             "datashare:///com.zyne.settingsdataX/a", "http:///org.example.desk", ""}) {
        EXPECT_EQ(Helper(other), nullptr) << other;
    }
    EXPECT_EQ(Insert({{"KEYWORD", "a"}}, SETTINGS), SHARE_NOT_PROVIDED);
    const auto token = device.dataShare->AsObject();
    EXPECT_NE(DataShareHelper::Creator(token, "datashare:///org.nobody", NOTES, 2), nullptr);
    EXPECT_EQ(DataShareHelper::Creator(nullptr, NOTES, "", 2), nullptr);
}

TEST_F(SharedData, LosesNoRowOfSeveralWritersNorOfOneThatIsKilled) {
    const auto first = StartApp("a", {"insert", NOTES, "a", "50"});
    const auto second = StartApp("b", {"insert", NOTES, "b", "50"});
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(Insert({{"KEYWORD", "c" + std::to_string(i)}}), 1);
    }
    ASSERT_TRUE(Prints("a", "done") && Prints("b", "done"));
    first->Signal(SIGKILL);
    first->Wait();
    EXPECT_EQ(Query(NOTES, {}, {}, 0).size(), 150u);
    EXPECT_EQ(Query(NOTES, {{"KEYWORD", "a49"}}, {"VALUE"}, 1), (Table{{"49"}}));
}

TEST_F(SharedData, CarriesNoticesBetweenProcessesInOrder) {
    constexpr size_t LARGE = 100'000;
    const auto listener = Listen(NOTES);
    const auto announcer = StartApp("announcer", {"notify", NOTES, std::to_string(LARGE), "100"});
    std::vector<std::string> expected(100, std::string(LARGE, '\0'));
    for (size_t i = 0; i < expected.size(); ++i) {
        expected[i][0] = static_cast<char>(i);
    }
    EXPECT_TRUE(listener->told.Reaches(expected.size()));
    EXPECT_EQ(listener->told.All(), expected);
    EXPECT_EQ(listener->type, DataShareObserver::ChangeType::UPDATE);

    const auto watcher = StartApp("watcher", {"watch", DESK});
    ASSERT_TRUE(Prints("watcher", "done"));
    Announce(NOTES, "hello");
    EXPECT_TRUE(Prints("watcher", "told of 5 bytes"));
    listener->told.Until("hello");
}

TEST_F(SharedData, TellsOfANoticeWhoeverWatchesItsPathOrWithDescendantsAnUpperOne) {
    const auto exact = Listen(NOTES);
    const auto above = Listen(DESK, true);
    const auto aboveAlone = Listen(DESK);
    const auto rows = MakeSptr<RowListener>();
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES), rows), 0);
    above->throws = true;

    Announce(std::string(DESK) + "/notes2", "sibling");
    Announce(NOTES + std::string("/below?x=y"), "below");
    EXPECT_EQ(Insert({{"KEYWORD", "a"}}), 1);
    helper->NotifyChangeExt(Change({NOTES, DESK}, "both"));
    EXPECT_THAT(exact->told.Until("both"), ElementsAre("both"));
    EXPECT_THAT(above->told.Until("both"), ElementsAre("sibling", "below", "both"));
    EXPECT_THAT(aboveAlone->told.Until("both"), ElementsAre("both"));
    EXPECT_TRUE(Eventually([&] { return rows->calls == 1; }));
}

TEST_F(SharedData, TellsOfRowsWhoeverWatchesThemUntilUnregistered) {
    const auto any = MakeSptr<RowListener>();
    const auto above = MakeSptr<RowListener>();
    const auto one = MakeSptr<RowListener>();
    const auto other = MakeSptr<RowListener>();
    const Uri narrowed(NOTES + std::string("?Proxy=true&&key=one"));
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES), any), 0);
    EXPECT_EQ(helper->RegisterObserver(Uri(DESK), above), 0);
    EXPECT_EQ(helper->RegisterObserver(narrowed, one), 0);
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES + std::string("?key=other")), other), 0);
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES), nullptr), SHARE_NO_OBSERVER);
    EXPECT_TRUE(helper->Release());  // registrations outlive it
    EXPECT_FALSE(helper->Release());
    EXPECT_EQ(Insert({{"KEYWORD", "one"}}), SHARE_RELEASED);

    helper = Helper(NOTES);
    Insert({{"KEYWORD", "one"}});
    EXPECT_TRUE(Eventually([&] { return any->calls == 1 && above->calls == 1 && one->calls == 1; }));
    Update({{"KEYWORD", "two"}}, {{"VALUE", "changes nothing"}});
    Update({{"KEYWORD", "one"}}, {{"VALUE", "1"}});
    EXPECT_TRUE(Eventually([&] { return any->calls == 2 && above->calls == 2 && one->calls == 2; }));

    EXPECT_EQ(other->calls, 0);
    Update({{"KEYWORD", "one"}}, {{"KEYWORD", "other"}});  // both names are meant
    EXPECT_TRUE(Eventually([&] { return any->calls == 3 && above->calls == 3 && one->calls == 3; }));
    EXPECT_TRUE(Eventually([&] { return other->calls == 1; }));

    EXPECT_EQ(helper->UnregisterObserver(Uri(NOTES), one), SHARE_NO_OBSERVER);
    EXPECT_EQ(helper->UnregisterObserver(narrowed, one), 0);
    EXPECT_EQ(helper->UnregisterObserver(narrowed, one), SHARE_NO_OBSERVER);
    Insert({{"KEYWORD", "one"}});
    EXPECT_TRUE(Eventually([&] { return any->calls == 4 && above->calls == 4; }));
    EXPECT_EQ(one->calls, 3);
}

TEST_F(SharedData, IsNotHeldUpByAnObserverThatBlocksAndForgetsThoseOfAReleasedHelper) {
    const auto other = Helper(NOTES);
    const auto blocking = std::make_shared<BlockingListener>();
    blocking->inside = [this] {
        Insert({{"KEYWORD", "from inside"}});
    };
    other->RegisterObserverExt(Uri(NOTES), blocking, false);
    const auto listener = Listen(NOTES);
    Announce(NOTES, "1");
    Announce(NOTES, "2");
    listener->told.Until("2");
    EXPECT_TRUE(Eventually([&] { return Query(NOTES, {}, {}, 1) == Table{{"from inside"}}; }));

    other->Release();
    blocking->gate.count_down();
    Announce(NOTES, "3");
    listener->told.Until("3");
    EXPECT_TRUE(Eventually([&] { return blocking.use_count() == 1; }));
    EXPECT_EQ(blocking->told.All().size(), 1U);
}

TEST_F(SharedData, TellsOnceMoreOfWhatChangesWhileAnObserverIsBeingTold) {
    const auto slow = MakeSptr<RowListener>(0);
    const auto other = MakeSptr<RowListener>();
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES), slow), 0);
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES), slow), 0);
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES), other), 0);
    Insert({{"KEYWORD", "a"}});
    EXPECT_TRUE(Eventually([&] { return slow->calls == 1 && other->calls == 1; }));
    Insert({{"KEYWORD", "b"}});
    EXPECT_TRUE(Eventually([&] { return other->calls == 2; }));
    Insert({{"KEYWORD", "c"}});
    EXPECT_TRUE(Eventually([&] { return other->calls == 3; }));
    slow->go.release();
    EXPECT_TRUE(Eventually([&] { return slow->calls == 2; }));
    slow->go.release();
    Insert({{"KEYWORD", "d"}});
    EXPECT_TRUE(Eventually([&] { return other->calls == 4 && slow->calls == 3; }));
    Insert({{"KEYWORD", "e"}});
    EXPECT_TRUE(Eventually([&] { return other->calls == 5; }));
    EXPECT_EQ(helper->UnregisterObserver(Uri(NOTES), slow), 0);
    slow->go.release(2);
    EXPECT_TRUE(Eventually([&] { return slow->GetSptrRefCount() == 1; }));
    EXPECT_EQ(slow->calls, 3) << "what waits when it is unregistered is not told";
}

TEST(ShareObservers, ThatAreTooFarBehindLoseWhatIsMoreThanMayWaitAndHearTheRest) {
    constexpr size_t LARGE = ShareLimits::NOTICE - ShareLimits::URI;
    constexpr size_t FITTING = ShareLimits::WAITING_NOTICES / ShareLimits::NOTICE;
    const auto blocked = std::make_shared<BlockingListener>();
    const auto free = std::make_shared<BlockingListener>();
    free->gate.count_down();
    ThreadPool pool;
    ShareObservers observers(pool);
    observers.AddForNotices(&observers, *ParseShareName(NOTES), false, blocked);
    observers.AddForNotices(&observers, *ParseShareName(NOTES), false, free);
    const auto tell = [&](size_t size) {
        observers.Tell(*CopyNotice(Change({NOTES}, std::string(size, 'x'))));
    };
    tell(1);
    EXPECT_TRUE(blocked->told.Reaches(1));
    testing::internal::CaptureStderr();
    for (size_t i = 0; i < FITTING + 1; ++i) {
        tell(LARGE);
        EXPECT_TRUE(free->told.Reaches(i + 2));
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("too much waits for it"));
    tell(2);
    blocked->gate.count_down();
    blocked->told.Until(2);
    tell(LARGE);
    tell(3);
    free->told.Until(3);
    std::vector<size_t> expected(FITTING + 4, LARGE);
    expected.front() = 1;
    expected[FITTING + 1] = 2;
    expected.back() = 3;
    EXPECT_EQ(blocked->told.Until(3), expected);
}

TEST_F(SharedData, PassesOverWhatIsNoNotice) {
    const auto listener = Listen(NOTES);
    const BusHandle stranger = OpenBus(device.bus.GetAddress());
    const auto send = [&](const char* member, const char* types, auto... arguments) {
        EXPECT_GE(sd_bus_emit_signal(
                      stranger.get(), "/com/zyne/DataShare", "com.zyne.DataShare", member, types, arguments...),
            0);
    };
    send("Notice", "");
    send("Notice", "s", "text");
    send("Notice", "v", "s", "text");
    send("Notice", "v", "ay", 4, 0xff, 0xff, 0xff, 0x7f);
    send("Notice", "v", "h", STDIN_FILENO);
    send("RowsChanged", "v", "ay", 4, 0xff, 0xff, 0xff, 0x7f);
    sd_bus_flush(stranger.get());
    helper->NotifyChangeExt(Change({}, "no URI"));
    helper->NotifyChangeExt(Change({NOTES, SETTINGS}, "another's"));
    Announce(NOTES, std::string(ShareLimits::NOTICE + 1, 'x'));
    const std::string largest = std::string(ShareLimits::NOTICE, 'x');
    Announce(NOTES, largest);
    Announce(NOTES, "last");
    EXPECT_THAT(listener->told.Until("last"), ElementsAre(largest, "last"));
}

TEST_F(SharedData, FailsCleanlyOnceItIsStoppedAndFindsItsRowsWhenItIsStartedAgain) {
    auto listener = Listen(NOTES);
    Insert({{"KEYWORD", "a"}});
    device.dataShare->Stop();
    EXPECT_EQ(listener.use_count(), 1);
    EXPECT_EQ(Insert({{"KEYWORD", "b"}}), SHARE_NOT_UP);
    EXPECT_EQ(Update({}, {{"VALUE", "b"}}), SHARE_NOT_UP);
    EXPECT_EQ(Query(NOTES, {}, {}, 1), (Table{{"failed"}}));
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES), MakeSptr<RowListener>()), SHARE_NOT_UP);
    Announce(NOTES, "nobody hears it");
    EXPECT_EQ(Helper(NOTES), nullptr);

    device.dataShare->Start(directory / "datashare.db", {DESK});
    helper = Helper(NOTES);
    ASSERT_NE(helper, nullptr);
    listener = Listen(NOTES);
    EXPECT_EQ(Query(NOTES, {}, {}, 1), (Table{{"a"}}));
    device.bus.Stop();
    EXPECT_EQ(Insert({{"KEYWORD", "b"}}), SHARE_NOT_UP);
    EXPECT_THROW(device.dataShare->Start(directory / "datashare.db", {DESK}), std::runtime_error);
}

TEST_F(SharedData, ComesBackWithTheBusAndCallsEachObserverOnceForWhatItMayHaveMissed) {
    const auto listener = Listen(NOTES);
    const auto rows = MakeSptr<RowListener>();
    const auto endedRows = MakeSptr<RowListener>();
    EXPECT_EQ(helper->RegisterObserver(Uri(NOTES), rows), 0);
    EXPECT_EQ(helper->RegisterObserver(Uri(DESK), endedRows), 0);
    for (int i = 1; i <= 2; ++i) {
        device.bus.Stop();
        EXPECT_EQ(Insert({{"KEYWORD", "a"}}), SHARE_NOT_UP);
        EXPECT_EQ(helper->UnregisterObserver(Uri(DESK), endedRows), i == 1 ? SHARE_OK : SHARE_NOT_UP);
        StartBus();
        EXPECT_TRUE(Eventually([&] { return rows->calls == 2 * i - 1; }));
        EXPECT_EQ(Insert({{"KEYWORD", "a"}}), 1);
        EXPECT_TRUE(Eventually([&] { return rows->calls == 2 * i; }));
        Announce(NOTES, std::to_string(i));
        listener->told.Until(std::to_string(i));
    }
    EXPECT_THAT(listener->told.All(), ElementsAre("", "1", "", "2"));
    EXPECT_EQ(endedRows->calls, 0);
}

}  // namespace
}  // namespace ZYNE::Linux
