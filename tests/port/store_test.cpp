// Databases that are damaged, deleted or replaced, and disks that are full.
#include <sys/mount.h>
#include <unistd.h>

#include <functional>
#include <map>

#include "linux/base/device_notes.h"
#include "linux/datashare/share_limits.h"
#include "linux/datashare/share_table.h"
#include "linux/profile/profile_service.h"
#include "tests/port/port_test.h"
#include "tests/support/profile_listener.h"

namespace ZYNE::Linux {
namespace {

using ::testing::IsEmpty;

const std::string SELF(64, 'a');
constexpr char NOTES[] = "datashare:///org.example.desk/notes";

class Store : public DeviceTest {
protected:
    ~Store() override {
        if (isMounted) {
            umount2(disk.c_str(), MNT_DETACH);
        }
    }

    int32_t Put(const std::string& key, const std::string& value) {
        return profiles.PutCharacteristicProfile(Testing::ProfileOf("LOCAL", "music", key, value));
    }
    // What the file has when it is opened anew.
    std::map<std::string, std::string> Kept() {
        profiles.Close();
        profiles.Open(file, SELF);
        std::map<std::string, std::string> kept;
        for (const auto& known : profiles.List("LOCAL")) {
            kept.emplace(known.profile.GetCharacteristicKey(), known.profile.GetCharacteristicValue());
        }
        return kept;
    }
    std::vector<std::string> NotesOf(const std::string& kind) const {
        std::vector<std::string> texts;
        for (const DeviceNotes::Note& note : device.notes.All()) {
            if (note.kind == kind) {
                texts.push_back(note.text);
            }
        }
        return texts;
    }
    std::vector<fs::path> PutAside() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(directory)) {
            if (entry.path().filename().native().find(".db.damaged-20") != std::string::npos) {
                found.push_back(entry.path());
            }
        }
        return found;
    }
    static void Damage(const fs::path& database) {
        std::fstream bytes(database, std::ios::in | std::ios::out | std::ios::binary);
        bytes.seekp(4096);  // behind the first page, which opens well
        bytes << std::string(fs::file_size(database) - 4096, 'x');
    }

    // Has a disk of its own at `disk`.
    bool MountDisk(const char* size) {
        fs::create_directory(disk);
        isMounted = mount("tmpfs", disk.c_str(), "tmpfs", 0, (std::string("size=") + size).c_str()) == 0;
        file = disk / "profiles.db";
        return isMounted;
    }
    // Leaves no byte of it, but for what `spared` is.
    void FillDisk(size_t spared = 0) const {
        std::ofstream filler(disk / "filler", std::ios::app | std::ios::binary);
        while (FreeBytes(disk) > spared && filler << std::string(4096, 'f') << std::flush) {
        }
    }

    const fs::path disk = directory / "disk";
    fs::path file = directory / "profiles.db";
    bool isMounted = false;
    ProfileService& profiles = device.profiles;
    DeviceNotes& notes = device.notes;
};

TEST_F(Store, NamesTheFileWhateverIsWrongWithIt) {
    const DatabaseOptions options{directory / "a.db", Durability::MACHINE, "CREATE TABLE IF NOT EXISTS t (x)", notes};
    Database first(options);
    Database second(options);
    const auto complaint = [&](const std::function<void()>& operation) -> std::string {
        try {
            second.Run(operation);
        } catch (const DatabaseError& error) {
            return error.what();
        }
        return "";
    };
    const std::string name = options.file.string() + ": ";
    second.Get().setBusyTimeout(0);
    first.Get().exec("BEGIN IMMEDIATE");
    EXPECT_EQ(complaint([&] { second.Get().exec("INSERT INTO t VALUES (1)"); }), name + "database is locked");
    EXPECT_EQ(complaint([&] { second.Get().exec("INSERT INTO none VALUES (1)"); }), name + "no such table: none");
    EXPECT_THROW(Database({directory / "none/a.db", Durability::MACHINE, "", notes}), DatabaseError);
}

TEST_F(Store, PutsADamagedDatabaseAsideAndBeginsANewOne) {
    profiles.Open(file, SELF);
    ASSERT_EQ(Put("song", std::string(20000, 'v')), 0);
    profiles.Close();
    Damage(file);
    EXPECT_THAT(Kept(), IsEmpty());
    ASSERT_EQ(PutAside().size(), 1u);
    EXPECT_THAT(NotesOf("damaged"), ElementsAre(HasSubstr(PutAside()[0].filename().string())));
    ASSERT_EQ(Put("song", "new"), 0);
    EXPECT_EQ(Kept(), (std::map<std::string, std::string>{{"song", "new"}}));

    Write(directory / "datashare.db", std::string(5000, 'x'));
    ShareTable shares(directory / "datashare.db", notes, true);
    EXPECT_EQ(shares.Insert(NOTES, {{"KEYWORD", "a"}}).result, 1);
    EXPECT_EQ(PutAside().size(), 2u);
    EXPECT_EQ(fs::file_size(directory / "datashare.db") % 4096, 0u);
}

TEST_F(Store, IsMadeAnewBeforeAPutIsAcknowledgedWhenItWasDeletedOrReplaced) {
    std::map<std::string, std::string> expected;
    const auto putMore = [&](const std::string& key) {
        ASSERT_EQ(Put(key, key), 0);
        expected[key] = key;
    };
    profiles.Open(file, SELF);
    putMore("first");
    fs::remove(file);
    putMore("deleted");
    EXPECT_EQ(Kept(), expected);
    fs::remove(file.string() + "-wal");
    putMore("without the write-ahead file");
    EXPECT_EQ(Kept(), expected);
    for (const std::string other : {"", "garbage"}) {
        Write(directory / "other", other);
        fs::rename(directory / "other", file);
        putMore("replaced by " + other);
        EXPECT_EQ(Kept(), expected);
    }
    fs::remove(file);
    EXPECT_EQ(profiles.Delete("music", "first"), 0);
    expected.erase("first");
    EXPECT_EQ(Kept(), expected);
}

TEST_F(Store, OfSharesIsMadeAnewForEveryProcessThatHasItOpen) {
    const fs::path database = directory / "datashare.db";
    ShareTable first(database, notes, true);
    first.SetProviders({"datashare:///org.example.desk"});
    ShareTable second(database, notes);
    EXPECT_THAT(second.GetProviders(), ElementsAre("datashare:///org.example.desk"));
    EXPECT_EQ(first.Insert(NOTES, {{"KEYWORD", "a"}}).result, 1);
    fs::remove(database);
    EXPECT_EQ(first.Insert(NOTES, {{"KEYWORD", "b"}}).result, 1);
    EXPECT_EQ(second.Insert(NOTES, {{"KEYWORD", "c"}}).result, 1);
    std::vector<ShareTable::Row> rows;
    EXPECT_EQ(ShareTable(database, notes, true).Query(NOTES, {}, {}, rows), 0);
    EXPECT_THAT(rows, ElementsAre(ShareTable::Row{{"KEYWORD", "b"}}, ShareTable::Row{{"KEYWORD", "c"}}));
    EXPECT_THAT(ShareTable(database, notes).GetProviders(), ElementsAre("datashare:///org.example.desk"));
    EXPECT_THAT(PutAside(), IsEmpty());
}

TEST_F(Store, WritesNoMoreAheadThanItsBound) {
    profiles.Open(file, SELF);
    uintmax_t most = 0;
    for (int i = 0; i < 12; ++i) {
        ASSERT_EQ(Put("large", std::string(ProfileBounds::VALUE_BYTES - 1000 * static_cast<size_t>(i), 'x')), 0);
        most = std::max(most, fs::file_size(file.string() + "-wal"));
    }
    EXPECT_LE(most, Database::MAX_AHEAD_BYTES);
}

TEST_F(Store, OpensOnAFullDiskWhereDeletingWorksAndKeepsItsReserveAgainWhenThereIsRoom) {
    if (!MountDisk("6m")) {
        GTEST_SKIP() << "only root can mount a small disk";
    }
    profiles.Open(file, SELF);
    ASSERT_EQ(Put("small", "1"), 0);
    for (const char* key : {"a", "b", "c"}) {
        ASSERT_EQ(Put(key, std::string(400'000, 'x')), 0);
    }
    { ShareTable(disk / "datashare.db", notes, true).SetProviders({"datashare:///org.example.desk"}); }
    profiles.Close();
    EXPECT_THAT(NotesOf("disk"), IsEmpty());
    FillDisk();

    EXPECT_EQ(Kept().size(), 4u);
    EXPECT_THAT(NotesOf("disk"), ElementsAre("disk full: " + file.string()));
    EXPECT_EQ(Put("d", std::string(800'000, 'x')), PROFILE_STORE_FAILED);
    ASSERT_TRUE(fs::exists(file.string() + ".reserve"));  // it is not for what makes no room
    EXPECT_EQ(profiles.Delete("music", "a"), 0);
    FillDisk();
    EXPECT_EQ(profiles.Delete("music", "b"), 0);
    EXPECT_EQ(Kept().size(), 2u);
    ShareTable shares(disk / "datashare.db", notes, true);
    shares.SetProviders({"datashare:///org.example.desk"});
    EXPECT_EQ(shares.Insert(NOTES, {{"KEYWORD", std::string(1000, 'k')}, {"V", std::string(1'000'000, 'v')}}).result,
        SHARE_STORE_FAILED);

    fs::remove(disk / "filler");
    EXPECT_EQ(Put("d", "1"), 0);
    EXPECT_EQ(shares.Insert(NOTES, {{"KEYWORD", "a"}}).result, 1);
    EXPECT_TRUE(fs::exists(file.string() + ".reserve"));
    EXPECT_THAT(NotesOf("disk"), IsEmpty());
}

}  // namespace
}  // namespace ZYNE::Linux
