#include "genotypes/markerlines.h"

void MarkerLines::prepareToReread()
{
    m_keptFirst = m_first;
    m_keptFirst.append(text::LineReader::slack, '\0');
    m_first = {m_keptFirst.data(), m_first.size()};
    m_isCopied = m_in.copyRestToReread();
}
