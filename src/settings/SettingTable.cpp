#include "settings/SettingTable.h"

namespace Settings {

QList<Entry> entries() {
    return std::apply(
        [](const auto&... setting) {
            return QList<Entry>{Entry{setting.id, setting.key.toString(),
                                      std::remove_cvref_t<decltype(setting)>::Kind::hint(),
                                      setting.formerKeys}...};
        },
        all());
}

} // namespace Settings
