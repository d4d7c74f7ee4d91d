#include "platform/linux/dictionaries/DictionaryDiscovery.h"

#include "harness/ManualTimers.h"
#include "harness/QtPrinters.h"
#include "harness/StarDictWriter.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// A discovery over one StarDict folder in a temporary folder, its settling driven by hand.
struct DiscoveryFixture {
    QTemporaryDir root;
    ManualTimers timers;
    StarDictDictdShelf shelf{[this] { return folders(); },
                             [](const QString&) {
                             }};
    DictionaryDiscovery discovery{shelf, [this] { return folders(); }, timers, 500ms};

    StarDictDictdShelf::Folders folders() const { return {{root.filePath(u"dic"_s)}, {}}; }

    void install(const QString& stem) {
        StarDictWriter writer({.bookname = stem});
        writer.add(u"water"_s, u"n. 水"_s);
        const auto written = writer.write(root.filePath(u"dic/"_s + stem), stem);
        ASSERT_TRUE(written) << qPrintable(written.error);
    }
    QStringList identifiers() {
        QStringList found;
        for (const auto& handle : discovery.dictionaries())
            found.push_back(handle.identifier);
        return found;
    }
    // The watcher has seen a change and the settling time has begun.
    bool changeSeen() {
        return QTest::qWaitFor([this] { return timers.pending() > 0; });
    }
    void settleAndWait() {
        QSignalSpy listed(&discovery, &DictionaryDiscovery::listed);
        timers.advance(500ms);
        ASSERT_TRUE(listed.wait());
    }
};

} // namespace

TEST(DictionaryDiscoveryTest, FollowedFoldersAreWalkedOnceThenOnlyAfterAChangeSettles) {
    DiscoveryFixture fixture;
    fixture.install(u"first"_s);
    QSignalSpy listed(&fixture.discovery, &DictionaryDiscovery::listed);
    fixture.discovery.start();
    EXPECT_EQ(fixture.identifiers(), QStringList{u"stardict:first"_s});
    ASSERT_TRUE(listed.count() > 0 || listed.wait());
    for (int i = 0; i < 3; ++i)
        fixture.identifiers();
    EXPECT_EQ(fixture.discovery.walks(), 1) << "lookups use the list, they do not walk";

    // Installed into a folder that did not exist at start: its parent is followed.
    fixture.install(u"second"_s);
    ASSERT_TRUE(fixture.changeSeen());
    EXPECT_EQ(fixture.identifiers(), QStringList{u"stardict:first"_s}) << "not yet settled";
    fixture.settleAndWait();
    EXPECT_EQ(fixture.identifiers(), (QStringList{u"stardict:first"_s, u"stardict:second"_s}));

    ASSERT_TRUE(QDir(fixture.root.filePath(u"dic/first"_s)).removeRecursively());
    ASSERT_TRUE(fixture.changeSeen());
    fixture.settleAndWait();
    EXPECT_EQ(fixture.identifiers(), QStringList{u"stardict:second"_s});
}

TEST(DictionaryDiscoveryTest, FolderCreatedAfterStartIsFollowed) {
    DiscoveryFixture fixture; // no "dic" folder yet
    QSignalSpy listed(&fixture.discovery, &DictionaryDiscovery::listed);
    fixture.discovery.start();
    ASSERT_TRUE(listed.wait());
    EXPECT_TRUE(fixture.identifiers().isEmpty());
    fixture.install(u"late"_s);
    ASSERT_TRUE(fixture.changeSeen());
    fixture.settleAndWait();
    EXPECT_EQ(fixture.identifiers(), QStringList{u"stardict:late"_s});
}

// Installed while the first walk's list is on its way to the main thread: the folders were
// followed before that walk, and its arrival must not drop what the watch saw meanwhile.
TEST(DictionaryDiscoveryTest, DictionaryInstalledDuringAWalkIsNotMissed) {
    DiscoveryFixture fixture;
    fixture.install(u"first"_s);
    fixture.discovery.start();
    // The walk is over, its list not yet taken in: no event has been handled since start.
    while (fixture.discovery.walks() < 1)
        std::this_thread::yield();
    fixture.install(u"meanwhile"_s);
    ASSERT_TRUE(fixture.changeSeen());
    fixture.settleAndWait();
    EXPECT_EQ(fixture.identifiers(), (QStringList{u"stardict:first"_s, u"stardict:meanwhile"_s}));
}

TEST(DictionaryDiscoveryTest, UnfollowedEveryCallSeesTheFoldersAsTheyAre) {
    DiscoveryFixture fixture;
    EXPECT_TRUE(fixture.identifiers().isEmpty());
    fixture.install(u"now"_s);
    EXPECT_EQ(fixture.identifiers(), QStringList{u"stardict:now"_s});
}
