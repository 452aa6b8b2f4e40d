// A page that holds everything it needs: text, pictures and tables, for any width, in light and dark.
#pragma once

#include "plot/figure.h"

#include <string>
#include <string_view>
#include <vector>

namespace plot {

class Page {
public:
    explicit Page(std::string_view title) : m_title(title) {}

    // A section and its entry in the list at the top.
    void section(std::string_view heading);
    void paragraph(std::string_view text);
    void code(std::string_view text);
    // With its description below it, which is its text alternative too.
    void picture(const Figure &figure);
    // With a head that sorts and a field that searches. Rows may be shorter than the head.
    void table(std::string_view caption, const std::vector<std::string> &head,
               const std::vector<std::vector<std::string>> &rows);

    std::string html() const;

private:
    std::string m_title, m_contents, m_body;
    size_t m_sections = 0, m_pictures = 0, m_tables = 0;
};

}  // namespace plot
