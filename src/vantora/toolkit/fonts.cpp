#include "vantora/toolkit/fonts_p.h"

#include <QDir>
#include <QFontDatabase>

namespace Vantora {

namespace {

bool registered = false;

} // namespace

int registerFontsIfNeeded()
{
    if (registered)
        return 0;
    const QDir bundle(QStringLiteral(":/vantora/fonts"));
    if (!bundle.exists())
        return 0; // not marked as done: a later call may find the resources
    int count = 0;
    const QStringList files = bundle.entryList({QStringLiteral("*.ttf")}, QDir::Files);
    for (const QString &file : files) {
        if (QFontDatabase::addApplicationFont(bundle.filePath(file))
            != -1) // one bad file is skipped
            ++count;
    }
    registered = true;
    return count;
}

} // namespace Vantora
