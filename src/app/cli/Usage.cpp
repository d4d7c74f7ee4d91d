#include "cli/Usage.h"

#include <QList>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace Usage {
namespace {

struct Command {
    QString name;
    QStringList forms; // what follows "quillet "
    QString summary;
    QStringList options; // "--json  …", shown by the command's own help
};

const QList<Command>& commands() {
    static const QList<Command> list{
        {u"lookup"_s,
         {u"lookup [--json] 文本…"_s, u"lookup --all [--json] 单词"_s},
         u"查单词或翻译句子"_s,
         {u"--json    输出 JSON"_s, u"--all     列出每本词典的释义"_s,
          u"--        其后的参数都是要查的文本"_s}},
        {u"check"_s,
         {u"check [--json] 文本…"_s},
         u"看一段文本会不会被查询，不会的话原因是什么"_s,
         {u"--json    输出 JSON"_s}},
        {u"dictionaries"_s,
         {u"dictionaries [--json]"_s},
         u"按查询顺序列出词典"_s,
         {u"--json    输出 JSON"_s}},
        {u"log"_s,
         {u"log [--lines N]"_s},
         u"显示诊断日志的最后几行（只记字数，不记查过的文本）"_s,
         {u"--lines N 显示最后 N 行（默认 50）"_s}},
        {u"settings"_s,
         {u"settings list"_s, u"settings get 键"_s, u"settings set 键 值"_s},
         u"查看和修改设置"_s,
         {}},
        {u"notebook"_s,
         {u"notebook list [--starred] [--json]"_s, u"notebook star 文本 [--sentence]"_s,
          u"notebook unstar 文本 [--sentence]"_s, u"notebook remove 文本 [--sentence]"_s,
          u"notebook clear"_s,
          u"notebook export --format anki|plain [--scope starred|all] [-o 文件]"_s},
         u"生词本：查询记录和收藏"_s,
         {u"--starred   只列收藏"_s, u"--sentence  文本是句子（默认是单词）"_s,
          u"clear       清空查询记录，收藏保留"_s, u"--scope     导出收藏或全部（默认全部）"_s,
          u"-o 文件     写入文件（默认输出到标准输出）"_s}},
        {u"translate-setup"_s, {u"translate-setup"_s}, u"检查翻译服务，需要时下载模型"_s, {}},
    };
    return list;
}

const Command* find(const QString& name) {
    for (const Command& command : commands()) {
        if (command.name == name)
            return &command;
    }
    return nullptr;
}

// "用法：quillet …" with further forms aligned under the first.
QString formLines(const QStringList& forms) {
    QStringList lines;
    for (const QString& form : forms)
        lines.append((lines.isEmpty() ? u"用法："_s : u"      "_s) + u"quillet "_s + form);
    return lines.join(u'\n');
}

} // namespace

bool isCommand(const QString& command) {
    return find(command) != nullptr;
}

QString brief(const QString& command) {
    if (const Command* found = find(command))
        return formLines(found->forms);
    QStringList names;
    for (const Command& each : commands())
        names.append(each.name);
    return formLines({names.join(u'|') + u" [参数…]"_s, u"--help | --version"_s});
}

QString ofCommand(const QString& command) {
    const Command* found = find(command);
    if (!found)
        return {};
    QString text = formLines(found->forms) + u"\n\n"_s + found->summary + u'\n';
    for (const QString& option : found->options)
        text += u"  "_s + option + u'\n';
    return text.chopped(1);
}

QString full() {
    QStringList lines{u"Quillet：查英文单词、翻译英文句子，用简体中文回答。"_s,
                      QString(),
                      u"用法：quillet 命令 [参数]"_s,
                      u"      quillet           不带命令时启动后台程序（已在运行则交给它）"_s,
                      QString(),
                      u"命令："_s};
    for (const Command& command : commands()) {
        for (const QString& form : command.forms)
            lines.append(u"  "_s + form);
        lines.append(u"      "_s + command.summary);
    }
    lines += {QString(), u"quillet 命令 --help 显示该命令的说明；quillet --version 显示版本。"_s,
              u"退出码：0 已回答，1 被拒绝，2 没查到或无法翻译，64 用法错误。"_s};
    return lines.join(u'\n');
}

} // namespace Usage
