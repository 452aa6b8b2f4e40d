// The module that reads decoded text.
#include "text/decoder.h"

#include <QFile>
#include <QString>
#include <QStringTokenizer>
#include <QTextStream>

namespace {
class QtFile : public text::DecodedFile {
public:
    bool open(int file)
    {
        return m_in.open(file, QIODevice::ReadOnly | QIODevice::Text, QFileDevice::AutoCloseHandle);
    }

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
}  // namespace

extern "C" [[gnu::visibility("default")]] text::DecodedFile *openDecodedFile(int file)
{
    auto decoded = std::make_unique<QtFile>();
    return decoded->open(file) ? decoded.release() : nullptr;
}
