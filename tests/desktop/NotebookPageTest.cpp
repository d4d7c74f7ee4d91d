// The 「单词本」 page driven through its widgets: recording on and off, the records' count,
// and clearing, each confirmed on the page before anything is removed.
#include "SettingsPagesFixture.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

class NotebookPageTest : public SettingsPagesTest {
protected:
    void SetUp() override {
        vocabulary.record(u"apple"_s);
        vocabulary.record(u"river"_s);
        vocabulary.toggleStar(u"harbour"_s, Vocabulary::Kind::word);
    }

    // The notebook as the settings file holds it, read by a second notebook on the file.
    QStringList storedTexts() const {
        DefaultsStore other(file);
        Vocabulary reader({.store = other, .recordingEnabled = [] { return true; }, .log = {}});
        QStringList texts;
        for (const Vocabulary::Entry& entry : reader.entries())
            texts.append(entry.text);
        return texts;
    }
    QString size() const { return child<QLabel>(u"historySize"_s)->text(); }
    bool asking() const { return child(u"removalConfirmation"_s)->isVisible(); }
    QString question() const { return child<QLabel>(u"removalQuestion"_s)->text(); }
    bool recording() const { return child<QCheckBox>(u"historyEnabled"_s)->isChecked(); }
};

} // namespace

TEST_F(NotebookPageTest, ClearingAsksFirstAndKeepsTheStarred) {
    open(SettingsPage::notebook);
    EXPECT_TRUE(size().contains(u"现有查询记录 2 条，最多保留 500 条"_s)) << size().toStdString();
    EXPECT_TRUE(size().contains(u"收藏 1 条"_s));

    click(u"clearHistory"_s);
    EXPECT_TRUE(asking());
    EXPECT_EQ(question(), u"清除全部 2 条查询记录？收藏的单词和句子会保留。"_s);
    click(u"cancelRemoval"_s);
    EXPECT_FALSE(asking());
    EXPECT_EQ(storedTexts().size(), 3);

    // A record made elsewhere meanwhile counts too.
    {
        DefaultsStore other(file);
        Vocabulary command({.store = other, .recordingEnabled = [] { return true; }, .log = {}});
        command.record(u"meadow"_s);
    }
    store.refresh();
    EXPECT_TRUE(size().contains(u"现有查询记录 3 条"_s)) << size().toStdString();

    click(u"clearHistory"_s);
    click(u"confirmRemoval"_s);
    EXPECT_FALSE(asking());
    EXPECT_EQ(storedTexts(), QStringList{u"harbour"_s});
    EXPECT_TRUE(size().contains(u"现有查询记录 0 条"_s));
    EXPECT_FALSE(child<QPushButton>(u"clearHistory"_s)->isEnabled());
}

TEST_F(NotebookPageTest, SwitchingRecordingOffClearsOnlyOnceConfirmed) {
    open(SettingsPage::notebook);
    EXPECT_TRUE(recording());
    click(u"historyEnabled"_s);
    // Still on until confirmed.
    EXPECT_TRUE(recording());
    EXPECT_TRUE(asking());
    EXPECT_TRUE(question().startsWith(u"关闭后不再记录查询，并清除现有的 2 条查询记录"_s));
    click(u"cancelRemoval"_s);
    EXPECT_TRUE(recording());
    EXPECT_EQ(stored(u"historyEnabled"_s), QVariant());
    EXPECT_EQ(storedTexts().size(), 3);

    click(u"historyEnabled"_s);
    click(u"confirmRemoval"_s);
    EXPECT_FALSE(recording());
    EXPECT_EQ(stored(u"historyEnabled"_s), false);
    EXPECT_EQ(storedTexts(), QStringList{u"harbour"_s});
    vocabulary.record(u"forest"_s);
    EXPECT_EQ(storedTexts(), QStringList{u"harbour"_s});

    // With nothing to clear it switches at once, either way.
    click(u"historyEnabled"_s);
    EXPECT_EQ(stored(u"historyEnabled"_s), true);
    click(u"historyEnabled"_s);
    EXPECT_FALSE(asking());
    EXPECT_EQ(stored(u"historyEnabled"_s), false);

    storeElsewhere({{u"historyEnabled"_s, true}});
    EXPECT_TRUE(recording());
}
