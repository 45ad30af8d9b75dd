#pragma once

#include <QString>

/// Prints "vantora-tv: <text>" on standard output at once: what the app does, for the person
/// at the terminal and for the end-to-end test that reads along.
void tvLine(const QString &text);
/// Prints "vantora-tv: <text>" on standard error.
void tvError(const QString &text);
