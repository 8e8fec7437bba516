// Devices of which there are two, and devices that are not to be trusted any more.

#include "tests/network/network_lab.h"

namespace ZYNE::Testing {
namespace {

class Identities : public NetworkLab {
protected:
    // Two devices with one identity, and a peer of theirs.
    struct Clones {
        Machine* elder;
        Machine* younger;
        Machine* peer;

        Pair OfElder() const { return {elder, peer}; }
        Pair OfYounger() const { return {younger, peer}; }
    };

    static std::filesystem::path Credentials(const Machine& machine) {
        return machine.device->Directory() / "credentials";
    }

    Clones AddClones(const Pair& pair, Machine* elder, const std::string& account) {
        Machine& younger = AddMachine(account + "-copy", account, Addresses::IPV4);
        std::filesystem::remove_all(Credentials(younger));
        std::filesystem::copy(Credentials(*elder), Credentials(younger));
        return {elder, &younger, elder == pair.smaller ? pair.larger : pair.smaller};
    }

    // In its status and in its log, with the address of the one that it speaks of.
    static bool TellsOfClone(const Machine& machine, const Machine& of) {
        const auto hasLine = ::testing::Matches(::testing::ContainsRegex("clone: .*" + of.Ipv4() + "([^0-9]|$)"));
        return hasLine(machine.device->Ctl({"status"}).out) &&
            hasLine(ReadAll(machine.device->Directory() / "state" / "device.log"));
    }

    static Clock::time_point InTime() { return Clock::now() + seconds(5); }

    static void Suffer(const Clones& clones) {
        EXPECT_TRUE(Until(InTime(), [&] { return TellsOfClone(*clones.elder, *clones.younger); }));
        EXPECT_TRUE(Until(InTime(), [&] { return TellsOfClone(*clones.younger, *clones.elder); }));
        EXPECT_TRUE(Until(InTime(), [&] { return TellsOfClone(*clones.peer, *clones.younger); }));
        PutValues(clones.OfElder(), "two");
        ExpectWhole(clones.OfElder(), "two", InTime());
        EXPECT_EQ(TimesOffline(clones.OfElder()), 0u);

        EXPECT_EQ(clones.elder->device->Stop(), 0);
        PutValues(clones.OfYounger(), "younger");
        ExpectWhole(clones.OfYounger(), "younger", InTime());
    }
};

TEST_F(Identities, TheElderOfTwoWithOneKeepsItsPlaceAndWhenOneLeavesTheOtherIsWhole) {
    const Pair one = AddPair("smaller", Addresses::IPV4);
    const Pair other = AddPair("larger", Addresses::IPV4);
    StartPairs();
    const std::vector<Clones> all{AddClones(one, one.smaller, "smaller"), AddClones(other, other.larger, "larger")};
    for (const Clones& clones : all) {
        clones.younger->device->Start();
    }
    ForAll(all, Suffer);
    for (const Clones& clones : all) {  // which makes it the younger
        clones.elder->device->Start();
    }
    ForAll(all, [](const Clones& clones) {
        EXPECT_TRUE(Until(InTime(), [&] { return TellsOfClone(*clones.elder, *clones.younger); }));
        EXPECT_EQ(clones.younger->device->Stop(), 0);
        PutValues(clones.OfElder(), "one");
        ExpectWhole(clones.OfElder(), "one", InTime());
    });
}

TEST_F(Identities, ThatAreRevokedAreLeftByAllAsSoonAsOneDeviceHasTheList) {
    const Pair pair = AddPair("home");
    Machine& lost = AddMachine("lost");
    StartPairs();
    lost.device->Start();
    ASSERT_TRUE(Eventually([&] { return SeeEachOther({pair.smaller, &lost}) && SeeEachOther({pair.larger, &lost}); }));
    const Outcome outcome =
        pair.smaller->device->Ctl({"account", "revoke", directory / "account-home", lost.device->Udid()});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(Until(Clock::now() + seconds(2), [&] {
        return MissEachOther({pair.smaller, &lost}) && MissEachOther({pair.larger, &lost});
    }));

    EXPECT_EQ(lost.device->Stop(), 0);
    lost.device->Start();
    EXPECT_TRUE(Until(InTime(), [&] { return Testing::Count(lost.device->Ctl({"status"}).out, "revoked: ") > 0; }));
    for (const Machine* machine : {pair.smaller, pair.larger}) {
        EXPECT_FALSE(lost.device->Lists(machine->device->Name()));
        EXPECT_FALSE(machine->device->Sees("lost"));
        PutValue(*machine, "revoked");
    }
    ExpectWhole(pair, "revoked", Clock::now() + seconds(2));
}

}  // namespace
}  // namespace ZYNE::Testing
