#pragma once

#include "dictionary/formats/DictionaryDefect.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

// Helpers for tests of the readers of the system's dictionary files.
namespace DictionaryFiles {

// Reads a file, lets `change` edit its bytes and writes them back in place.
inline void rewrite(const QString& path, const std::function<void(QByteArray&)>& change) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    QByteArray bytes = file.readAll();
    file.close();
    change(bytes);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

// The opened reader; a defect fails the test and gives null.
template <typename T> std::unique_ptr<T> opened(OrDefect<std::unique_ptr<T>> result) {
    if (const auto* defect = std::get_if<DictionaryDefect>(&result)) {
        ADD_FAILURE() << qPrintable(defect->reason);
        return nullptr;
    }
    return std::move(std::get<std::unique_ptr<T>>(result));
}

template <typename T> std::optional<QString> defectIn(const OrDefect<T>& result) {
    if (const auto* defect = std::get_if<DictionaryDefect>(&result))
        return defect->reason;
    return std::nullopt;
}

} // namespace DictionaryFiles
