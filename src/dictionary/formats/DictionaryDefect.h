#pragma once

#include <QString>
#include <variant>

// Why a dictionary on disk cannot be used, worded for the event log.
struct DictionaryDefect {
    QString reason;
};

// A value read from a dictionary's files, or why they could not give it.
template <typename T> using OrDefect = std::variant<T, DictionaryDefect>;
