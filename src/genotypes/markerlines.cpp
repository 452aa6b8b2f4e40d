#include "genotypes/markerlines.h"

void MarkerLines::prepareToReread()
{
    m_keptFirst = m_first;
    m_keptFirst.append(text::LineReader::slack, '\0');
    m_first = {m_keptFirst.data(), m_first.size()};
    m_isCopied = m_in.copyRestToReread();
}

void MarkerLines::rewind()
{
    m_in.rewind();
    m_isAtFirst = m_isCopied;
}

void MarkerLines::startPass(bool isLast)
{
    if (m_hasPassed)
        rewind();
    else if (!isLast)
        prepareToReread();
    m_hasPassed = true;
}
