#pragma once

#include <QString>
#include <QTemporaryDir>

// A word database built from SQL inside a test, on disk in a temporary folder.
class FixtureDatabase {
public:
    // Runs `sql` (any number of statements) on a fresh file; fails the test on error.
    explicit FixtureDatabase(const QString& sql);
    const QString& path() const { return m_path; }

    // The tables the program reads, as the build tool writes them.
    static QString schema();

private:
    QTemporaryDir m_dir;
    QString m_path;
};
