#include "text/writer.h"
#include "text/files.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace text {

Writer *Writer::firstOpen = nullptr;

bool Writer::open(const std::string &name)
{
    return openWith(O_TRUNC, name);
}

bool Writer::openToAppend(const std::string &name)
{
    return openWith(O_APPEND, name);
}

bool Writer::openWith(int flags, const std::string &name)
{
    close();
    const int file = steadily([&] { return ::open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666); });
    if (file < 0) {
        tellUnopened(name);
        return false;
    }
    openDescriptor(file, name);
    return true;
}

bool Writer::openStandardOutput()
{
    const int file = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    if (file >= 0)
        openDescriptor(file, "standard output");
    return file >= 0;
}

void Writer::openDescriptor(int file, const std::string &name)
{
    close();
    m_memory = nullptr;
    m_file = file;
    m_name = name;
    m_packer = makePacker(m_file, m_name);
    m_buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
    m_size = 0;
    m_nextOpen = firstOpen;
    firstOpen = this;
}

void Writer::openToMemory(std::string &bytes)
{
    close();
    m_memory = &bytes;
    m_buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
    m_size = 0;
}

void Writer::close()
{
    if (m_file < 0)
        return;
    writeBuffer();
    if (m_packer)
        m_packer->finish();
    m_packer.reset();
    Writer **link = &firstOpen;
    while (*link && *link != this)
        link = &(*link)->m_nextOpen;
    if (*link)
        *link = m_nextOpen;
    const int file = m_file;
    m_file = -1;
    if (!closeSteadily(file))
        onFailure("write", m_name);
}

void Writer::flush()
{
    writeBuffer();
    if (m_packer)
        m_packer->flush();
}

void Writer::writeBuffer()
{
    const size_t size = m_size;
    m_size = 0;  // first: the failure handler flushes again
    write(m_buffer.get(), size);
}

void Writer::writeAllButLast()
{
    const size_t size = m_size - 1;
    const char last = m_buffer[size];
    m_size = 0;  // first: the failure handler flushes again
    write(m_buffer.get(), size);
    m_buffer[0] = last;
    m_size = 1;
}

void Writer::put(std::string_view bytes)
{
    if (bytes.size() > capacity) {
        writeBuffer();
        write(bytes.data(), bytes.size() - 1);
        bytes.remove_prefix(bytes.size() - 1);
    }
    char *out = reserve(bytes.size());
    commit(out + bytes.copy(out, bytes.size()));
}

void Writer::write(const char *bytes, size_t size)
{
    if (m_memory)
        m_memory->append(bytes, size);
    else if (m_packer)
        m_packer->write({bytes, size});
    else
        writeAll(m_file, {bytes, size}, m_name);
}

void Writer::closeAll()
{
    while (firstOpen)
        firstOpen->close();
}

void Writer::flushAll()
{
    // Taken off the list first: where a flush fails, the failure handler comes back here for the rest.
    while (firstOpen) {
        Writer *writer = firstOpen;
        firstOpen = writer->m_nextOpen;
        writer->flush();
        writer->m_packer.reset();
    }
}

}  // namespace text
