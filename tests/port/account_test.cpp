#include "linux/account/account.h"

#include <unistd.h>

#include "linux/account/account_directory.h"
#include "linux/account/credentials.h"
#include "linux/account/device_files.h"
#include "linux/account/replacement.h"
#include "linux/account/revocation_file.h"
#include "linux/account/signed_document.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

using ::testing::AllOf;
using ::testing::ThrowsMessage;

const std::string UDID(64, 'a');
const std::string OTHER_UDID(64, 'b');
const fs::perms FOR_OWNER = fs::perms::owner_read | fs::perms::owner_write;

class Account : public PortTest {
protected:
    Account() {
        CreateAccount(home, "Home");
        EnrollDevice(home, phone, UDID);
    }

    static auto CountFiles(const fs::path& in) { return std::distance(fs::directory_iterator(in), {}); }
    static std::string Content(const fs::path& file) { return ReadSmallFile(file); }
    // That the phone's credentials are refused with a word on each of `parts`.
    void ExpectRefused(const std::string& part, const std::string& other = "") const {
        EXPECT_THAT([&] { LoadCredentials(phone); },
            ThrowsMessage<std::runtime_error>(AllOf(HasSubstr(part), HasSubstr(other))));
    }
    void EnrollAgain() const {
        fs::remove_all(phone);
        EnrollDevice(home, phone, UDID);
    }
    // As an earlier version made it, with a certificate that has ended.
    void MakeOld() const {
        const AccountDirectory account(home);
        const DeviceFiles device = ReadDeviceFiles(phone, geteuid(), Expired::REFUSED);
        Write(phone / CredentialFiles::CERTIFICATE,
            ToPem(*NewDeviceCertificate(UDID, *device.key, account.Certificate(), account.Key(), {1000, 2000})));
        Write(phone / "governance.p7s", "governance");
        Write(phone / "permissions.p7s", "permissions");
        fs::remove(phone / CredentialFiles::MEETING_KEY);
        fs::remove(home / CredentialFiles::MEETING_KEY);
    }
    // A document that this account's authority has signed.
    std::string Signed(const std::string& text) const {
        const AccountDirectory account(home);
        return SignDocument(text, account.Certificate(), account.Key());
    }
    std::string Authority() const { return Content(home / CredentialFiles::AUTHORITY); }

    const fs::path home = directory / "home";
    const fs::path phone = directory / "phone";
};

TEST_F(Account, GivesADeviceWhatItNeedsAndNotTheAuthoritysKeyAndIsNeverOverwritten) {
    EXPECT_THROW(CreateAccount(home, "Again"), std::runtime_error);
    EXPECT_THROW(EnrollDevice(home, phone, OTHER_UDID), std::runtime_error);
    EXPECT_THROW(EnrollDevice(home, directory / "tv", "../escape"), std::runtime_error);
    EnrollDevice(home, directory / "desk", OTHER_UDID);
    const Credentials credentials = LoadCredentials(phone);
    EXPECT_EQ(credentials.udid, UDID);
    EXPECT_EQ(credentials.accountName, "Home");
    EXPECT_EQ(credentials.authority, Authority());
    EXPECT_EQ(credentials.certificate, Content(phone / CredentialFiles::CERTIFICATE));
    EXPECT_EQ(credentials.key, Content(phone / CredentialFiles::KEY));
    EXPECT_EQ(credentials.meetingKey.size(), MEETING_KEY_BYTES);
    EXPECT_EQ(credentials.meetingKey, LoadCredentials(directory / "desk").meetingKey);
    EXPECT_GT(credentials.validUntil, std::time(nullptr));
    EXPECT_EQ(CountFiles(phone), 5) << "not the authority's key";
    for (const fs::path& key : {home / AccountDirectory::AUTHORITY_KEY, home / CredentialFiles::MEETING_KEY,
             phone / CredentialFiles::KEY, phone / CredentialFiles::MEETING_KEY}) {
        EXPECT_EQ(fs::status(key).permissions(), FOR_OWNER) << key;
    }
}

TEST_F(Account, RefusesAFileOfAnotherDeviceOrAccountAndNamesTheOneThatIsDamaged) {
    EnrollDevice(home, directory / "desk", OTHER_UDID);
    CreateAccount(directory / "elsewhere", "Home");
    EnrollDevice(directory / "elsewhere", directory / "foreign", UDID);
    const std::vector<std::pair<const char*, const char*>> foreign{{"desk", CredentialFiles::UDID},
        {"desk", CredentialFiles::KEY}, {"foreign", CredentialFiles::AUTHORITY},
        {"foreign", CredentialFiles::CERTIFICATE}, {"foreign", CredentialFiles::KEY}};
    for (const auto& [from, file] : foreign) {
        fs::copy_file(directory / from / file, phone / file, fs::copy_options::overwrite_existing);
        ExpectRefused(CredentialFiles::CERTIFICATE);
        EnrollAgain();
    }
    for (const char* file : {CredentialFiles::AUTHORITY, CredentialFiles::CERTIFICATE, CredentialFiles::KEY,
             CredentialFiles::UDID, CredentialFiles::MEETING_KEY}) {
        Write(phone / file, "damaged");
        ExpectRefused(file);
        fs::remove(phone / file);
        ExpectRefused(file);
        EnrollAgain();
    }
}

TEST_F(Account, RefusesKeysThatOthersCanReadOrChange) {
    for (const char* file : {CredentialFiles::KEY, CredentialFiles::MEETING_KEY}) {
        for (const fs::perms open : {fs::perms::group_read, fs::perms::group_write, fs::perms::others_read}) {
            fs::permissions(phone / file, FOR_OWNER | open);
            ExpectRefused(file, "chmod 600");
        }
        fs::permissions(phone / file, FOR_OWNER);
        if (geteuid() == 0) {
            ASSERT_EQ(chown((phone / file).c_str(), 12345, 12345), 0);
            ExpectRefused(file, "another user");
            ASSERT_EQ(chown((phone / file).c_str(), 0, 0), 0);
        }
    }
    EXPECT_EQ(LoadCredentials(phone).udid, UDID);
    fs::permissions(home / AccountDirectory::AUTHORITY_KEY, FOR_OWNER | fs::perms::others_read);
    EXPECT_THROW(EnrollDevice(home, directory / "tv", OTHER_UDID), std::runtime_error);
}

TEST_F(Account, RenewsCredentialsOfAnEarlierVersionUnderTheSameUdidAndKey) {
    const std::string key = Content(phone / CredentialFiles::KEY);
    RevokeDevice(home, OTHER_UDID);
    MakeOld();
    ExpectRefused("expired");
    RenewDevice(home, phone);
    EXPECT_EQ(Content(phone / CredentialFiles::KEY), key);
    EXPECT_EQ(LoadCredentials(phone).udid, UDID);
    EXPECT_EQ(Content(phone / CredentialFiles::REVOKED), RevocationDocument(home));
    EXPECT_EQ(CountFiles(phone), 6);

    fs::remove(phone / CredentialFiles::MEETING_KEY);
    ExpectRefused(CredentialFiles::MEETING_KEY, "collabctl device renew");
}

TEST_F(Account, RenewsAllOrNothing) {
    MakeOld();
    const std::string certificate = Content(phone / CredentialFiles::CERTIFICATE);
    CreateAccount(directory / "elsewhere", "Home");
    EXPECT_THROW(RenewDevice(directory / "elsewhere", phone), std::runtime_error);
    fs::create_directory(phone / CredentialFiles::REVOKED);
    RevokeDevice(home, OTHER_UDID);
    EXPECT_THROW(RenewDevice(home, phone), std::runtime_error);
    fs::remove(phone / CredentialFiles::REVOKED);
    RevokeDevice(home, UDID);
    EXPECT_THAT([&] { RenewDevice(home, phone); }, ThrowsMessage<std::runtime_error>(HasSubstr("revoked")));
    EXPECT_EQ(Content(phone / CredentialFiles::CERTIFICATE), certificate);
    EXPECT_EQ(CountFiles(phone), 6);

    // The second renaming fails, for the first has taken its file.
    Write(directory / "kept/a", "old");
    EXPECT_THROW(ReplaceFiles(directory / "kept", {{"a", "new", false}, {"a", "newer", false}}), std::runtime_error);
    EXPECT_EQ(Content(directory / "kept/a"), "old");
    EXPECT_EQ(CountFiles(directory / "kept"), 1);
}

TEST_F(Account, RevokesADeviceOnceAndForGood) {
    EXPECT_EQ(RevocationDocument(home), "");
    RevokeDevice(home, OTHER_UDID);
    RevokeDevice(home, UDID);
    EXPECT_THROW(RevokeDevice(home, UDID), std::runtime_error);
    EXPECT_THROW(EnrollDevice(home, directory / "tv", UDID), std::runtime_error);
    const Revocations list = ReadRevocations(RevocationDocument(home), Authority());
    EXPECT_EQ(list.number, 2u);
    EXPECT_THAT(list.udids, ElementsAre(UDID, OTHER_UDID));
    EXPECT_TRUE(list.Has(OTHER_UDID) && !list.Has(std::string(64, 'c')));
}

TEST_F(Account, BelievesNoListThatItsAuthorityHasNotSignedOrThatIsMalformed) {
    const std::string text = "revocations 1\nnumber 1\nudid " + UDID + "\n";
    EXPECT_TRUE(ReadRevocations(Signed(text), Authority()).Has(UDID));
    CreateAccount(directory / "elsewhere", "Home");
    const AccountDirectory elsewhere(directory / "elsewhere");
    const DeviceFiles device = ReadDeviceFiles(phone, geteuid(), Expired::REFUSED);
    std::string changed = Signed(text);
    changed.replace(changed.find(UDID), UDID.size(), OTHER_UDID);
    std::vector<std::string> refused{"", text, changed, SignDocument(text, *device.certificate, *device.key),
        SignDocument(text, elsewhere.Certificate(), elsewhere.Key())};
    for (const std::string& malformed : {std::string("revocations 2\nnumber 1\n"), std::string("revocations 1\n"),
             std::string("revocations 1\nnumber 0\n"), std::string("revocations 1\nnumber 01\n"),
             std::string("revocations 1\nnumber -1\n"), std::string("revocations 1\nnumber \n"),
             std::string("revocations 1\nnumber 18446744073709551616\n"), text + "udid " + UDID + "\n",
             text + "udid 0" + UDID.substr(1) + "\n", text + "udid short\n", text + "more\n", text + "udid z"}) {
        refused.push_back(Signed(malformed));
    }
    for (const std::string& document : refused) {
        EXPECT_THROW(ReadRevocations(document, Authority()), std::runtime_error) << document;
    }
}

TEST_F(Account, ListsAThousandRevokedDevicesAndNoMore) {
    const AccountDirectory account(home);
    const auto sign = [&](const Revocations& list) {
        return SignRevocations(list, account.Certificate(), account.Key());
    };
    Revocations list{1, {}};
    for (size_t i = 0; i < MAX_REVOKED; ++i) {
        list.udids.push_back(std::to_string(1000 + i) + UDID.substr(4));
    }
    EXPECT_LE(sign(list).size(), MAX_REVOCATION_BYTES);
    EXPECT_EQ(ReadRevocations(sign(list), Authority()).udids, list.udids);
    list.udids.push_back(OTHER_UDID);
    EXPECT_THROW(ReadRevocations(sign(list), Authority()), std::runtime_error);
}

TEST_F(Account, KeepsTheNewestListOverRestartsAndDamage) {
    const fs::path file = directory / "state/revoked.p7s";
    Write(file, "damaged");
    RevokeDevice(home, OTHER_UDID);
    const std::string first = RevocationDocument(home);
    RevokeDevice(home, UDID);
    const std::string second = RevocationDocument(home);
    {
        RevocationFile revoked(file, Authority(), phone);
        EXPECT_THAT(revoked.Problem(), HasSubstr(file));
        EXPECT_EQ(revoked.Current()->number, 0u);
        EXPECT_EQ(revoked.Document(), "");
        EXPECT_TRUE(revoked.Take(second));
        EXPECT_FALSE(revoked.Take(second));
        EXPECT_FALSE(revoked.Take(first));
        EXPECT_THROW(revoked.Take("damaged"), std::runtime_error);
        EXPECT_TRUE(revoked.Current()->Has(UDID));
    }
    Write(phone / CredentialFiles::REVOKED, first);
    EXPECT_EQ(RevocationFile(file, Authority(), phone).Document(), second);

    fs::remove(file);
    EXPECT_EQ(RevocationFile(file, Authority(), phone).Document(), first);
    EXPECT_EQ(RevocationFile(file, Authority(), directory).Document(), first) << "the seed was not kept";

    fs::remove_all(file.parent_path());
    Write(file.parent_path(), "no directory");
    RevocationFile unkept(file, Authority(), directory);
    EXPECT_TRUE(unkept.Take(second)) << "a list counts though it cannot be stored";
    EXPECT_TRUE(unkept.Current()->Has(UDID));
    EXPECT_THAT(unkept.Problem(), HasSubstr(file.parent_path()));
}

}  // namespace
}  // namespace ZYNE::Linux
