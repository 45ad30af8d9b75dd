// Without libFuzzer: feeds every file named (or found in the folders named) to the fuzz target
// once, so the corpus runs as an ordinary test.

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char *argv[])
{
    int passed = 0;
    int failed = 0;
    for (int i = 1; i < argc; ++i) {
        const QString path = QString::fromLocal8Bit(argv[i]);
        QStringList files{path};
        if (QFileInfo(path).isDir()) {
            files.clear();
            QDirIterator it(path, QDir::Files, QDirIterator::Subdirectories);
            while (it.hasNext())
                files << it.next();
        }
        for (const QString &name : files) {
            QFile file(name);
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "cannot read %s\n", qPrintable(name));
                ++failed;
                continue;
            }
            const QByteArray bytes = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.constData()),
                                   static_cast<size_t>(bytes.size()));
            ++passed;
        }
    }
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 && passed > 0 ? 0 : 1;
}
