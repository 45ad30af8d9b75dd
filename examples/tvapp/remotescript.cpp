#include "remotescript.h"

#include <QJsonDocument>
#include <QKeySequence>
#include <QRegularExpression>

#include <cmath>
#include <optional>

namespace {

using Command = ScriptStep::Command;

struct CommandName
{
    const char *name;
    Command command;
};

constexpr CommandName commandNames[] = {
    {"key", Command::key},
    {"wait-for", Command::waitFor},
    {"wait-gone", Command::waitGone},
    {"screenshot", Command::screenshot},
    {"dump", Command::dump},
    {"mark", Command::mark},
    {"seek", Command::seek},
    {"play", Command::play},
    {"pause", Command::pause},
    {"quit", Command::quit},
    {"stay", Command::stay},
    {"admin", Command::admin},
};

std::optional<double> seconds(const QString &word)
{
    bool ok = false;
    const double value = word.toDouble(&ok);
    if (!ok || !std::isfinite(value) || value < 0)
        return std::nullopt;
    return value;
}

// A remote key by Qt's name for it ("Down", "Return", "Escape", "Space"), without modifiers.
int keyNamed(const QString &name)
{
    const QKeySequence sequence = QKeySequence::fromString(name, QKeySequence::PortableText);
    if (sequence.count() != 1 || sequence[0].keyboardModifiers() != Qt::NoModifier)
        return 0;
    const Qt::Key key = sequence[0].key();
    return key == Qt::Key_unknown ? 0 : int(key);
}

// Reads what follows the command; an empty result means the step is complete.
QString readArguments(ScriptStep &step, QStringList words, const QString &line)
{
    const QString command = words.takeFirst();
    switch (step.command) {
    case Command::key: {
        if (words.isEmpty() || words.size() > 2)
            return QStringLiteral("key takes a key name and an optional count");
        step.key = keyNamed(words[0]);
        if (step.key == 0)
            return QStringLiteral("no key named '%1'").arg(words[0]);
        if (words.size() == 2) {
            bool ok = false;
            step.count = words[1].toInt(&ok);
            if (!ok || step.count < 1)
                return QStringLiteral("the count '%1' is not a whole number from 1").arg(words[1]);
        }
        return {};
    }
    case Command::waitFor:
    case Command::waitGone: {
        const std::optional<double> limit = words.isEmpty() ? std::nullopt : seconds(words[0]);
        if (!limit || words.size() < 2)
            return QStringLiteral("%1 takes a limit in seconds and a text").arg(command);
        step.seconds = *limit;
        // The text is the rest of the line as written, inner spaces and all.
        step.text = line.section(QRegularExpression(QStringLiteral("\\s+")), 3);
        return {};
    }
    case Command::screenshot:
    case Command::dump:
        if (words.size() != 1 || words[0].contains(u'/'))
            return QStringLiteral("%1 takes one file name without folders").arg(command);
        step.text = words[0];
        return {};
    case Command::mark:
        if (words.isEmpty())
            return QStringLiteral("mark takes a text");
        step.text = words.join(u' ');
        return {};
    case Command::seek: {
        const std::optional<double> target = words.size() == 1 ? seconds(words[0]) : std::nullopt;
        if (!target)
            return QStringLiteral("seek takes one video second");
        step.seconds = *target;
        return {};
    }
    case Command::admin: {
        if (words.isEmpty() || words[0].startsWith(u'/'))
            return QStringLiteral("admin takes a path below /admin/ and an optional JSON object");
        step.text = words[0];
        const QString body = line.section(QRegularExpression(QStringLiteral("\\s+")), 3);
        if (!body.isEmpty()) {
            QJsonParseError error;
            const QJsonDocument document = QJsonDocument::fromJson(body.toUtf8(), &error);
            if (!document.isObject())
                return QStringLiteral("admin's body is not a JSON object: %1").arg(body);
            step.body = document.toJson(QJsonDocument::Compact);
        }
        return {};
    }
    case Command::play:
    case Command::pause:
    case Command::quit:
    case Command::stay:
        if (!words.isEmpty())
            return QStringLiteral("%1 takes nothing more").arg(command);
        return {};
    }
    return {};
}

} // namespace

RemoteScript RemoteScript::parse(const QString &text)
{
    RemoteScript script;
    const QStringList lines = text.split(u'\n');
    const QRegularExpression blanks(QStringLiteral("\\s+"));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const int number = int(i + 1);
        const QString line = lines[i].section(u'#', 0, 0).trimmed();
        if (line.isEmpty())
            continue;
        const auto fail = [&](const QString &why) {
            script.steps.clear();
            script.error = QStringLiteral("line %1: %2").arg(number).arg(why);
            return script;
        };
        QStringList words = line.split(blanks);
        if (words.size() < 2)
            return fail(QStringLiteral("expected a time and a command"));

        ScriptStep step;
        step.line = number;
        const QString when = words.takeFirst();
        step.afterPrevious = when.startsWith(u'+');
        const std::optional<double> at = seconds(step.afterPrevious ? when.mid(1) : when);
        if (!at)
            return fail(
                QStringLiteral("'%1' is not a time (a video second, or +seconds)").arg(when));
        step.at = *at;

        bool known = false;
        for (const CommandName &name : commandNames) {
            if (words[0] == QLatin1StringView(name.name)) {
                step.command = name.command;
                known = true;
            }
        }
        if (!known)
            return fail(QStringLiteral("unknown command '%1'").arg(words[0]));
        const QString problem = readArguments(step, words, line);
        if (!problem.isEmpty())
            return fail(problem);
        script.steps.append(step);
    }
    return script;
}
