// vantora-validate: checks a JSON document against the record it must decode as, with the same
// strict rules the SDK applies, so a content author finds a bad channel document before viewers do.

#include "vantora/records/recordcatalog_p.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>

#include <cstdio>

using namespace Vantora::Json;
using namespace Qt::Literals::StringLiterals;

namespace {

enum ExitCode { Valid = 0, Invalid = 1, BadUsage = 2 };

void write(FILE *stream, const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
}

int usage(const QString &problem)
{
    QStringList names;
    for (const DocumentKind &kind : documentKinds())
        names << kind.name;
    write(stderr, problem);
    write(stderr, u"usage: vantora-validate [--print] <RecordName> <file or ->"_s);
    write(stderr, u"records: "_s + names.join(u", "_s));
    return BadUsage;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);

    const bool print = args.removeAll(u"--print"_s) > 0;
    if (args.size() != 2)
        return usage(u"error: expected a record name and a file"_s);
    const DocumentKind *kind = findDocumentKind(args[0]);
    if (!kind)
        return usage(u"error: unknown record "_s + args[0]);

    QFile file;
    const bool opened = args[1] == "-"_L1
        ? file.open(stdin, QIODevice::ReadOnly)
        : (file.setFileName(args[1]), file.open(QIODevice::ReadOnly));
    if (!opened) {
        write(stderr, u"error: cannot read "_s + args[1] + u": "_s + file.errorString());
        return BadUsage;
    }

    const auto result = kind->reencode(file.readAll());
    if (!result) {
        write(stdout, u"error: "_s + result.error().message());
        return Invalid;
    }
    write(stdout, print ? QString::fromUtf8(result.value()) : u"ok"_s);
    return Valid;
}
