#include "logs/DiagnosticLog.h"

#include "harness/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

// Points the log folder at a fresh temporary state folder for each test.
class DiagnosticLogTest : public testing::Test {
protected:
    void SetUp() override { qputenv("XDG_STATE_HOME", m_state.path().toUtf8()); }
    void TearDown() override {
        DiagnosticLog::flush();
        qunsetenv("XDG_STATE_HOME");
    }

    QString folder() const { return m_state.path() + u"/Quillet"_s; }
    QString current() const { return folder() + u"/Quillet.log"_s; }
    QString previous() const { return folder() + u"/Quillet.1.log"_s; }

    static QByteArray read(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static void fill(const QString& path, qint64 bytes) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QByteArray(bytes, 'x'));
    }
    static void writeAndWait(const QString& line) {
        DiagnosticLog::write(line, QDateTime::currentDateTime());
        DiagnosticLog::flush();
    }

    QTemporaryDir m_state;
};

const QDateTime kDate(QDate(2024, 3, 5), QTime(9, 7, 1, 42));

} // namespace

TEST_F(DiagnosticLogTest, FirstLineCreatesTheFileAndIgnoresRegionalSettings) {
    const QLocale saved;
    QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
    DiagnosticLog::write(u"[触发] 划词｜‹5 字›"_s, kDate);
    DiagnosticLog::flush();
    QLocale::setDefault(saved);
    EXPECT_EQ(QString::fromUtf8(read(current())),
              u"2024-03-05 09:07:01.042 [触发] 划词｜‹5 字›\n"_s);
}

TEST_F(DiagnosticLogTest, RotatesOnlyPastAMillionBytes) {
    fill(current(), DiagnosticLog::rotationBytes);
    writeAndWait(u"appended"_s);
    EXPECT_GT(read(current()).size(), DiagnosticLog::rotationBytes);
    EXPECT_FALSE(QFile::exists(previous()));

    fill(previous(), 10); // an older rotation, to be replaced
    fill(current(), DiagnosticLog::rotationBytes + 1);
    writeAndWait(u"fresh"_s);
    EXPECT_EQ(read(previous()).size(), DiagnosticLog::rotationBytes + 1);
    EXPECT_TRUE(read(current()).endsWith(" fresh\n"));
    EXPECT_LT(read(current()).size(), 40);
}

TEST_F(DiagnosticLogTest, LinesFromSeveralThreadsKeepSubmissionOrder) {
    // Each thread submits its line only after the previous one was submitted.
    for (int i = 0; i < 50; ++i)
        std::thread([i] { DiagnosticLog::write(u"line %1"_s.arg(i), kDate.addSecs(i)); }).join();
    DiagnosticLog::flush();
    const QStringList lines = QString::fromUtf8(read(current())).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 50);
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(lines[i], DiagnosticLog::timeStamp(kDate.addSecs(i)) + u" line %1"_s.arg(i));
}

TEST_F(DiagnosticLogTest, UnwritableFolderLosesLinesQuietly) {
    // The log folder's parent is a file: the folder can never be made.
    fill(m_state.path() + u"/blocker"_s, 1);
    qputenv("XDG_STATE_HOME", (m_state.path() + u"/blocker"_s).toUtf8());
    writeAndWait(u"lost"_s);
    qputenv("XDG_STATE_HOME", m_state.path().toUtf8());

    // A full disk: every write to the log fails.
    QDir().mkpath(folder());
    ASSERT_TRUE(QFile::link(u"/dev/full"_s, current()));
    writeAndWait(u"also lost"_s);
    QFile::remove(current());

    writeAndWait(u"kept"_s);
    EXPECT_TRUE(read(current()).endsWith(" kept\n"));
    EXPECT_EQ(read(current()).count('\n'), 1);
}
