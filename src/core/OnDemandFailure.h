#pragma once

#include "capture/SelectionCaptureResult.h"

#include <QString>

// Why the hot key's lookup of the selection read nothing; each carries the panel's text.
enum class OnDemandFailure {
    nothingSelected, // the focused control holds no selection
    unreadable,      // the program's own window gave nothing to copy
    copyNoChange,
    copyEmpty,
    superseded,
    secretLike, // the application marked what it copied as secret
    notTrusted,
    sandboxed,
    noAnswer,
    passwordField,
    passwordManager,
};

namespace OnDemandFailures {

QString text(OnDemandFailure failure);
OnDemandFailure from(SelectionCaptureFailure failure);

} // namespace OnDemandFailures
