// The dictionary order on the 「词典与翻译」 page, checked against what the real `quillet
// dictionaries` reads from the same settings file and dictionary folders.
#include "X11TestInput.h"
#include "harness/QtPrinters.h"
#include "harness/QuilletProcess.h"
#include "harness/SettingsObjects.h"
#include "harness/StarDictWriter.h"
#include "platform/SystemDictionaryBridge.h"
#include "ui/settings/SettingsWindow.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QString kBundled = u"bundled"_s;
const QString kChinese = u"stardict:quillet-ec"_s;
const QString kEnglish = u"stardict:quillet-en"_s;
constexpr int glossRole = Qt::UserRole + 1;

QString userStarDictFolder() {
    return QDir::homePath() + u"/.local/share/stardict/dic"_s;
}

void install(const QString& stem, const QString& bookname, const QString& water) {
    StarDictWriter writer({.bookname = bookname});
    writer.add(u"water"_s, water).add(u"wave"_s, water);
    const auto written = writer.write(userStarDictFolder() + u'/' + stem, stem);
    ASSERT_TRUE(written) << written.error.toStdString();
}

// The identifiers `quillet dictionaries` lists, in its order.
QStringList listedByCommand() {
    const QuilletProcess::Run run = QuilletProcess::run(
        {u"dictionaries"_s, u"--json"_s}, QuilletProcess::environmentWithHome(QDir::homePath()));
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    QStringList identifiers;
    const QJsonObject listed = QJsonDocument::fromJson(run.out.toUtf8()).object();
    for (const QJsonValue& row : listed[u"dictionaries"_s].toArray())
        identifiers.append(row[u"identifier"_s].toString());
    return identifiers;
}

class DictionaryOrderPageTest : public testing::Test {
protected:
    std::unique_ptr<SettingsObjects> objects;
    std::unique_ptr<SettingsWindow> window;
    QListWidget* order = nullptr;
    QListWidget* removed = nullptr;

    void SetUp() override {
        // Installed before the settings are first read, as on a machine that has them.
        install(u"quillet-ec"_s, u"测试英汉"_s, u"n. 水；雨水"_s);
        install(u"quillet-en"_s, u"Test English"_s, u"n. a clear liquid"_s);
        objects = std::make_unique<SettingsObjects>(*DefaultsStore::defaultFilePath(),
                                                    SettingsObjects::Dictionaries::installed);
        window = std::make_unique<SettingsWindow>(objects->context());
        window->present(SettingsPage::dictionaries);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        order = window->findChild<QListWidget*>(u"dictionaryOrder"_s);
        removed = window->findChild<QListWidget*>(u"removedDictionaries"_s);
        ASSERT_TRUE(order && removed);
    }

    void TearDown() override {
        window.reset();
        objects.reset();
        QDir(userStarDictFolder()).removeRecursively();
        QFile::remove(*DefaultsStore::defaultFilePath());
    }

    static QStringList rows(const QListWidget* list) {
        QStringList identifiers;
        for (int row = 0; row < list->count(); ++row)
            identifiers.append(list->item(row)->data(Qt::UserRole).toString());
        return identifiers;
    }

    QListWidgetItem* item(QListWidget* list, const QString& identifier) const {
        const qsizetype row = rows(list).indexOf(identifier);
        return row < 0 ? nullptr : list->item(static_cast<int>(row));
    }

    void click(const QString& button) const {
        auto* found = window->findChild<QPushButton*>(button);
        ASSERT_NE(found, nullptr) << button.toStdString();
        ASSERT_TRUE(found->isEnabled()) << button.toStdString();
        QTest::mouseClick(found, Qt::LeftButton);
    }

    // A person's drag, through the X server: press on one row, move past the drag distance,
    // let go over the lower half of another, so the row lands behind it.
    void drag(const QString& from, const QString& behind) const {
        const auto centre = [this](const QString& identifier) {
            return order->viewport()->mapToGlobal(
                order->visualItemRect(item(order, identifier)).center());
        };
        const QPoint start = centre(from);
        const QPoint end = centre(behind) + QPoint(0, 8);
        const auto at = [](const QPoint& point) {
            return QStringList{u"mousemove"_s, QString::number(point.x()),
                               QString::number(point.y()), u"sleep"_s, u"0.15"_s};
        };
        QProcess gesture;
        // One command for the whole gesture: while the drag runs, this thread is inside Qt's
        // drag loop and could start no other.
        gesture.start(u"xdotool"_s, at(start) + QStringList{u"mousedown"_s, u"1"_s} +
                                        at(start + QPoint(0, 12)) + at(end - QPoint(0, 4)) +
                                        at(end) + QStringList{u"mouseup"_s, u"1"_s});
        ASSERT_TRUE(
            QTest::qWaitFor([&gesture] { return gesture.state() == QProcess::NotRunning; }, 15000));
        EXPECT_EQ(gesture.exitCode(), 0) << gesture.readAllStandardError().toStdString();
    }
};

} // namespace

TEST_F(DictionaryOrderPageTest, RearrangingTheListChangesWhatLookupsWalk) {
    // What the page shows at first is what the command lists: the built-in database, then
    // the dictionaries that gloss in Chinese, then the rest.
    const QStringList first = rows(order);
    ASSERT_GE(first.size(), 3);
    EXPECT_EQ(first.mid(0, 3), (QStringList{kBundled, kChinese, kEnglish}));
    EXPECT_EQ(first, listedByCommand());
    EXPECT_EQ(item(order, kChinese)->text(), u"测试英汉"_s);
    EXPECT_EQ(item(order, kBundled)->text(), u"简明英汉"_s);
    EXPECT_TRUE(item(order, kBundled)->data(glossRole).toBool());
    EXPECT_TRUE(item(order, kChinese)->data(glossRole).toBool());
    EXPECT_FALSE(item(order, kEnglish)->data(glossRole).toBool());

    // The move buttons, for keyboards: the English dictionary up to the top.
    order->setCurrentItem(item(order, kEnglish));
    click(u"moveUpButton"_s);
    click(u"moveUpButton"_s);
    EXPECT_FALSE(window->findChild<QPushButton*>(u"moveUpButton"_s)->isEnabled());
    QStringList expected = first;
    expected.move(2, 0);
    EXPECT_EQ(rows(order), expected);
    EXPECT_EQ(listedByCommand(), expected);

    // A drag: the built-in database behind the Chinese one.
    drag(kBundled, kChinese);
    expected = {kEnglish, kChinese, kBundled};
    expected += first.mid(3);
    EXPECT_TRUE(QTest::qWaitFor([&] { return rows(order) == expected; }))
        << rows(order).join(u' ').toStdString();
    EXPECT_EQ(listedByCommand(), expected);
    EXPECT_EQ(item(order, kBundled)->text(), u"简明英汉"_s) << "the row keeps its data";

    // Removed, it is asked no more; put back, it returns to its place.
    order->setCurrentItem(item(order, kChinese));
    click(u"removeButton"_s);
    EXPECT_FALSE(rows(order).contains(kChinese));
    EXPECT_EQ(rows(removed), QStringList{kChinese});
    EXPECT_FALSE(listedByCommand().contains(kChinese));
    removed->setCurrentItem(item(removed, kChinese));
    click(u"restoreButton"_s);
    EXPECT_EQ(rows(order), expected);
    EXPECT_TRUE(rows(removed).isEmpty());
    EXPECT_EQ(listedByCommand(), expected);
}

TEST_F(DictionaryOrderPageTest, FollowsChangesMadeElsewhere) {
    // A command changes the order while the page is open.
    objects->store.watchFile();
    const QuilletProcess::Run set =
        QuilletProcess::run({u"settings"_s, u"set"_s, u"dictionaryOrder"_s,
                             u"[\"%1\", \"%2\"]"_s.arg(kEnglish, kBundled)},
                            QuilletProcess::environmentWithHome(QDir::homePath()));
    ASSERT_EQ(set.exitCode, 0) << set.err.toStdString();
    EXPECT_TRUE(QTest::qWaitFor([&] {
        return rows(order).mid(0, 2) == QStringList{kEnglish, kBundled};
    })) << rows(order).join(u' ').toStdString();
    EXPECT_EQ(rows(order), listedByCommand());

    // A dictionary installed while the page is open shows up, with its mark.
    SystemDictionaryBridge::followChanges();
    const QString added = u"stardict:quillet-new"_s;
    install(u"quillet-new"_s, u"新装词典"_s, u"n. 水"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return item(order, added) != nullptr; }, 10000))
        << rows(order).join(u' ').toStdString();
    ASSERT_NE(item(order, added), nullptr);
    EXPECT_EQ(item(order, added)->text(), u"新装词典"_s);
    EXPECT_TRUE(item(order, added)->data(glossRole).toBool());
    EXPECT_EQ(rows(order), listedByCommand());
}
