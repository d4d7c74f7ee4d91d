#include "cli/SettingsCommand.h"

#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/RenameMigration.h"
#include "settings/SettingsCatalog.h"
#include "settings/TriggerSettings.h"

using namespace Qt::StringLiterals;

namespace SettingsCommand {

int run(const QStringList& arguments) {
    const QString action = arguments.value(0);
    const bool wellFormed = (action == u"list"_s && arguments.size() == 1) ||
                            (action == u"get"_s && arguments.size() == 2) ||
                            (action == u"set"_s && arguments.size() == 3);
    if (!wellFormed)
        return CommandLine::reportUsage();

    // The same start-up order as the agent: carry the former identity's settings over first.
    RenameMigration::runIfNeeded();
    const SettingsCatalog catalog(Preferences::shared(), TriggerSettings::shared(),
                                  FilterPreferences::shared());

    if (action == u"list"_s) {
        for (const SettingsCatalog::Setting& setting : catalog.settings())
            Output::line(stdout, setting.key + u" = "_s + setting.read());
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
    Output::line(stdout, setting->key + u" = "_s + setting->read());
    return CommandLine::success;
}

} // namespace SettingsCommand
