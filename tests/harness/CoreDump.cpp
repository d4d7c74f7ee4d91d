#include "harness/CoreDump.h"

#include <QDir>
#include <QProcess>
#include <cstddef>
#include <cstring>
#include <elf.h>
#include <sys/procfs.h>

using namespace Qt::StringLiterals;

namespace {

QList<QByteArray> mapLines(qint64 pid) {
    QFile maps(u"/proc/%1/maps"_s.arg(pid));
    if (!maps.open(QIODevice::ReadOnly))
        return {};
    return maps.readAll().split('\n');
}

} // namespace

std::variant<std::unique_ptr<CoreDump>, QString> CoreDump::take(qint64 pid, const QString& folder) {
    std::unique_ptr<CoreDump> dump(new CoreDump);
    dump->m_pid = pid;
    const QDir tasks(u"/proc/%1/task"_s.arg(pid));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name(tasks.filePath(task + u"/comm"_s));
        if (name.open(QIODevice::ReadOnly))
            dump->m_threadNames.insert(task.toInt(), QString::fromUtf8(name.readAll().trimmed()));
    }
    for (const QByteArray& line : mapLines(pid)) {
        // start-end perms offset device inode [name]
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() < 5)
            continue;
        const QList<QByteArray> range = fields[0].split('-');
        dump->m_mappings.append(
            {range.value(0).toULongLong(nullptr, 16), range.value(1).toULongLong(nullptr, 16),
             fields.size() > 5 ? QString::fromUtf8(fields[5]) : u"[anonymous]"_s});
    }
    if (dump->m_mappings.isEmpty())
        return u"no mappings for process %1"_s.arg(pid);

    const QString prefix = QDir(folder).filePath(u"core"_s);
    QProcess gcore;
    gcore.setProcessChannelMode(QProcess::MergedChannels);
    gcore.start(u"gcore"_s, {u"-o"_s, prefix, QString::number(pid)});
    if (!gcore.waitForStarted(5000))
        return u"gcore did not start (scripts/setup installs gdb)"_s;
    if (!gcore.waitForFinished(120'000) || gcore.exitCode() != 0)
        return u"gcore failed: "_s + QString::fromUtf8(gcore.readAll());

    dump->m_file.setFileName(prefix + u'.' + QString::number(pid));
    if (!dump->m_file.open(QIODevice::ReadOnly))
        return u"no dump at "_s + dump->m_file.fileName();
    const qint64 size = dump->m_file.size();
    const uchar* mapped = dump->m_file.map(0, size);
    if (!mapped || size < qint64(sizeof(Elf64_Ehdr)))
        return u"cannot map "_s + dump->m_file.fileName();
    dump->m_bytes = QByteArrayView(reinterpret_cast<const char*>(mapped), size);

    Elf64_Ehdr header;
    std::memcpy(&header, mapped, sizeof header);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_type != ET_CORE)
        return dump->m_file.fileName() + u" is no core dump"_s;
    for (int i = 0; i < header.e_phnum; ++i) {
        const quint64 at = header.e_phoff + quint64(i) * header.e_phentsize;
        if (at + sizeof(Elf64_Phdr) > quint64(size))
            break;
        Elf64_Phdr program;
        std::memcpy(&program, mapped + at, sizeof program);
        if (program.p_type == PT_LOAD && program.p_filesz > 0)
            dump->m_segments.append({program.p_offset, program.p_vaddr, program.p_filesz});
        else if (program.p_type == PT_NOTE)
            dump->m_notes = {program.p_offset, 0, program.p_filesz};
    }
    return dump;
}

CoreDump::~CoreDump() {
    // The dump holds whatever the process held: it goes at once.
    if (m_file.isOpen())
        m_file.remove();
}

QString CoreDump::placeOf(qsizetype offset) const {
    const quint64 at = quint64(offset);
    for (const Segment& segment : m_segments) {
        if (at < segment.offset || at >= segment.offset + segment.size)
            continue;
        const quint64 address = segment.address + (at - segment.offset);
        for (const Mapping& mapping : m_mappings) {
            if (address >= mapping.start && address < mapping.end)
                return u"0x%1 %2+0x%3"_s.arg(address, 0, 16)
                    .arg(mapping.name)
                    .arg(address - mapping.start, 0, 16);
        }
        return u"0x%1 (mapped after the look at the mappings)"_s.arg(address, 0, 16);
    }
    if (at >= m_notes.offset && at < m_notes.offset + m_notes.size)
        return noteAt(at);
    return u"offset %1 (the dump's own headers)"_s.arg(offset);
}

// Notes follow each other: a header (name size, content size, type), the name and the
// content, each padded to four bytes. A thread's notes start with its status, which names it.
QString CoreDump::noteAt(quint64 offset) const {
    const auto* data = reinterpret_cast<const uchar*>(m_bytes.data());
    const quint64 end = m_notes.offset + m_notes.size;
    qint32 thread = 0;
    for (quint64 at = m_notes.offset; at + sizeof(Elf64_Nhdr) <= end;) {
        Elf64_Nhdr note;
        std::memcpy(&note, data + at, sizeof note);
        const quint64 content = at + sizeof note + ((note.n_namesz + 3) & ~3u);
        const quint64 next = content + ((note.n_descsz + 3) & ~3u);
        if (note.n_type == NT_PRSTATUS &&
            note.n_descsz >= offsetof(struct elf_prstatus, pr_pid) + 4)
            std::memcpy(&thread, data + content + offsetof(struct elf_prstatus, pr_pid), 4);
        if (offset >= content && offset < next) {
            const QString what = note.n_type == NT_X86_XSTATE ? u"vector registers"_s
                                 : note.n_type == NT_FPREGSET ? u"floating-point registers"_s
                                 : note.n_type == NT_PRSTATUS ? u"registers"_s
                                                              : u"note %1"_s.arg(note.n_type);
            const QString whose =
                thread == m_pid ? u"the main thread"_s
                                : u"thread %1 (%2)"_s.arg(thread).arg(m_threadNames.value(thread));
            return u"the %1 of %2 (+%3)"_s.arg(what, whose).arg(offset - content);
        }
        at = next;
    }
    return u"offset %1 (the dump's notes)"_s.arg(offset);
}
