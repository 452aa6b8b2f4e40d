// The module that reads decoded text.
#include "text/decoder.h"

#include <QFile>
#include <QString>
#include <QStringTokenizer>
#include <QTextStream>

class QtFile : public text::DecodedFile {
public:
    explicit QtFile(const char *name) : m_in(name) {}
    bool open() { return m_in.open(QIODevice::ReadOnly | QIODevice::Text); }

    bool splitLines() override
    {
        constexpr qint64 pieceSize = 1 << 20;
        QTextStream stream(&m_in);
        QString line;
        [[maybe_unused]] volatile qsizetype size;
        // In pieces, since the text of a long line is several times its size in memory.
        while (stream.readLineInto(&line, pieceSize)) {
            if (line.isEmpty())
                continue;
            // Field by field: a list of all fields would be many times the size of a long line.
            for (const QStringView field : qTokenize(line, u' '))
                size = field.size();
        }
        return m_in.error() == QFileDevice::NoError;
    }

private:
    QFile m_in;
};

extern "C" [[gnu::visibility("default")]] text::DecodedFile *openDecodedFile(const char *name)
{
    auto file = std::make_unique<QtFile>(name);
    return file->open() ? file.release() : nullptr;
}
