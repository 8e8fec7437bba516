#include "linux/account/account.h"

#include "linux/account/credentials.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

using ::testing::ThrowsMessage;

const std::string UDID(64, 'a');
const std::string OTHER_UDID(64, 'b');

class Account : public PortTest {
protected:
    Account() {
        CreateAccount(directory / "home", "Home");
        EnrollDevice(directory / "home", directory / "phone", UDID);
    }

    void Replace(const std::string& file, const std::string& by) const {
        fs::copy_file(directory / by / file, directory / "phone" / file, fs::copy_options::overwrite_existing);
    }
    // That the phone's credentials are refused, naming `part`.
    void ExpectRefused(const std::string& part) const {
        EXPECT_THAT([&] { LoadCredentials(directory / "phone"); }, ThrowsMessage<std::runtime_error>(HasSubstr(part)));
    }
};

TEST_F(Account, GivesADeviceWhatItNeedsAndNotTheAuthoritysKey) {
    const Credentials credentials = LoadCredentials(directory / "phone");
    EXPECT_EQ(credentials.udid, UDID);
    EXPECT_EQ(credentials.accountName, "Home");
    for (const auto& file : fs::directory_iterator(directory / "home")) {
        if (file.path().extension() == ".key") {
            EXPECT_FALSE(fs::exists(directory / "phone" / file.path().filename()));
            EXPECT_EQ(file.status().permissions(), fs::perms::owner_read | fs::perms::owner_write);
        }
    }
}

TEST_F(Account, IsNeverOverwritten) {
    EXPECT_THROW(CreateAccount(directory / "home", "Again"), std::runtime_error);
    EXPECT_THROW(EnrollDevice(directory / "home", directory / "phone", OTHER_UDID), std::runtime_error);
    EXPECT_EQ(LoadCredentials(directory / "phone").udid, UDID);
}

TEST_F(Account, RefusesCredentialsThatAreNotOneDevicesOrNotOneAccounts) {
    EnrollDevice(directory / "home", directory / "desk", OTHER_UDID);
    CreateAccount(directory / "elsewhere", "Elsewhere");
    EnrollDevice(directory / "elsewhere", directory / "foreign", UDID);
    for (const char* file : {CredentialFiles::UDID, CredentialFiles::KEY, CredentialFiles::PERMISSIONS}) {
        Replace(file, "desk");
        ExpectRefused(file == CredentialFiles::UDID || file == CredentialFiles::KEY ? "" : file);
        fs::remove_all(directory / "phone");
        EnrollDevice(directory / "home", directory / "phone", UDID);
    }
    for (const char* file : {CredentialFiles::AUTHORITY, CredentialFiles::CERTIFICATE, CredentialFiles::GOVERNANCE,
             CredentialFiles::PERMISSIONS}) {
        Replace(file, "foreign");
        ExpectRefused("phone");
        fs::remove_all(directory / "phone");
        EnrollDevice(directory / "home", directory / "phone", UDID);
    }
}

TEST_F(Account, NamesTheFileThatIsMissingOrDamaged) {
    std::ofstream(directory / "phone" / CredentialFiles::CERTIFICATE) << "damaged";
    ExpectRefused(CredentialFiles::CERTIFICATE);
    fs::remove(directory / "phone" / CredentialFiles::AUTHORITY);
    ExpectRefused(CredentialFiles::AUTHORITY);
    EXPECT_THROW(EnrollDevice(directory / "home", directory / "tv", "../escape"), std::runtime_error);
}

}  // namespace
}  // namespace ZYNE::Linux
