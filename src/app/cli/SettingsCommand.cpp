#include "cli/SettingsCommand.h"

#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "cli/TerminalText.h"
#include "settings/FilterPreferences.h"
#include "settings/InterfaceSettings.h"
#include "settings/Preferences.h"
#include "settings/RenameMigration.h"
#include "settings/SettingsCatalog.h"
#include "settings/TranslationSettings.h"
#include "settings/TriggerSettings.h"

using namespace Qt::StringLiterals;

namespace SettingsCommand {
namespace {

std::optional<QString> usageProblem(const QStringList& arguments) {
    const QString action = arguments.value(0);
    const qsizetype wanted = action == u"list"_s ? 1 : action == u"get"_s ? 2 : 3;
    if (action.isEmpty())
        return u"缺少操作：list、get 或 set"_s;
    if (action != u"list"_s && action != u"get"_s && action != u"set"_s)
        return u"未知操作："_s + action;
    if (arguments.size() < wanted)
        return action == u"get"_s ? u"get 需要一个键"_s : u"set 需要一个键和一个值"_s;
    if (arguments.size() > wanted) {
        QString problem = u"多余的参数："_s + arguments.mid(wanted).join(u' ');
        if (action == u"set"_s)
            problem += u"（值里有空格时请加引号）"_s;
        return problem;
    }
    return std::nullopt;
}

} // namespace

int run(const QStringList& arguments) {
    const QString action = arguments.value(0);
    if (const std::optional<QString> problem = usageProblem(arguments))
        return CommandLine::usageError(*problem, u"settings"_s);

    // The same start-up order as the agent: carry the former identity's settings over first.
    RenameMigration::runIfNeeded();
    const SettingsCatalog catalog({&Preferences::shared(), &TriggerSettings::shared(),
                                   &FilterPreferences::shared(), &TranslationSettings::shared(),
                                   &InterfaceSettings::shared()});

    if (action == u"list"_s) {
        for (const SettingsCatalog::Setting& setting : catalog.settings())
            Output::line(stdout, setting.key + u" = "_s + TerminalText::oneLine(setting.read()));
        return CommandLine::success;
    }
    const SettingsCatalog::Setting* setting = catalog.find(arguments[1]);
    if (!setting) {
        Output::line(stderr, u"没有名为「%1」的设置项；`quillet settings list` 列出全部。"_s.arg(
                                 arguments[1]));
        return CommandLine::refused;
    }
    if (action == u"get"_s) {
        Output::line(stdout, setting->read());
        return CommandLine::success;
    }
    if (const std::optional<QString> refusal = setting->write(arguments[2])) {
        Output::line(stderr, *refusal);
        return CommandLine::refused;
    }
    if (const std::optional<int> unsaved = CommandLine::unsavedChanges())
        return *unsaved;
    Output::line(stdout, setting->key + u" = "_s + setting->read());
    return CommandLine::success;
}

} // namespace SettingsCommand
