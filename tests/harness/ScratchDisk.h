#pragma once

#include <QString>

// A small tmpfs mounted over a folder, to fill it up or make it read-only as a real disk
// would be. Needs the right to mount (root here); `mounted()` says whether it worked, so a
// test can skip where it does not. Unmounted when it goes.
class ScratchDisk {
public:
    ScratchDisk(const QString& folder, qint64 bytes);
    ~ScratchDisk();
    ScratchDisk(const ScratchDisk&) = delete;
    ScratchDisk& operator=(const ScratchDisk&) = delete;

    bool mounted() const { return m_mounted; }
    // Writes a filler file until the disk is full; false if it never filled.
    bool fill();
    // Removes the filler.
    void makeRoom();
    bool setReadOnly(bool readOnly);

private:
    QString m_folder;
    qint64 m_bytes;
    bool m_mounted = false;
};
