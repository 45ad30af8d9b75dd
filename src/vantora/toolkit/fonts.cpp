#include "vantora/toolkit/fonts_p.h"

#include <QDir>
#include <QFont>
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
    // Sponsors' markup names the television platform's system fonts; ours stands in for them.
    for (const char *family : {"-apple-system", "HelveticaNeue", "Helvetica Neue"})
        QFont::insertSubstitution(QString::fromLatin1(family), QString::fromLatin1(cardFontFamily));
    registered = true;
    return count;
}

} // namespace Vantora
