#include "plot/page.h"
#include "main/banner.h"
#include "plot/gnuplot.h"
#include "plot/rows.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace plot {

static constexpr char style[] = R"(
:root { color-scheme: light dark; --back: #fff; --text: #1a1a1a; --quiet: #595959; --line: #c8c8c8; --field: #f3f3f3;
  --link: #00588a; --blue: #0072b2; --vermillion: #d55e00; --sky: #56b4e9; --orange: #e69f00; --green: #009e73;
  --purple: #cc79a7; --grey: #808080; --lightgrey: #b8b8b8; }
@media (prefers-color-scheme: dark) { :root:not([data-scheme=light]) {
  --back: #16181b; --text: #ececec; --quiet: #ababab;
  --line: #4a4d52; --field: #25282c; --link: #7cc4f5; --blue: #4aa3df; --vermillion: #ff8534; --green: #27c498;
  --grey: #969696; --lightgrey: #6c6c6c; } }
:root[data-scheme=dark] { color-scheme: dark; --back: #16181b; --text: #ececec; --quiet: #ababab; --line: #4a4d52;
  --field: #25282c; --link: #7cc4f5; --blue: #4aa3df; --vermillion: #ff8534; --green: #27c498; --grey: #969696;
  --lightgrey: #6c6c6c; }
:root[data-scheme=light] { color-scheme: light; }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem; max-width: 64rem; background: var(--back); color: var(--text);
  font: 1rem/1.5 system-ui, sans-serif; overflow-wrap: anywhere; }
header { display: flex; flex-wrap: wrap; gap: 1rem; align-items: baseline; justify-content: space-between; }
h1 { font-size: 1.6rem; margin: 0; } h2 { font-size: 1.25rem; margin: 2.5rem 0 .5rem; }
a { color: var(--link); }
nav ul { padding: 0; margin: 1rem 0; display: flex; flex-wrap: wrap; gap: .25rem 1.25rem; list-style: none; }
figure { margin: 1rem 0; } figure svg { display: block; width: 100%; max-width: 40rem; height: auto; }
figcaption, .quiet { color: var(--quiet); font-size: .9rem; }
pre { background: var(--field); padding: .75rem; overflow-x: auto; white-space: pre-wrap; }
button, input { font: inherit; color: inherit; background: var(--field); border: 1px solid var(--line);
  border-radius: .25rem;  padding: .3rem .6rem; }
:focus-visible { outline: 3px solid var(--link); outline-offset: 1px; }
.tools { display: flex; flex-wrap: wrap; gap: .5rem 1rem; align-items: center; margin: .75rem 0 .5rem; }
.scroll { overflow: auto; max-height: 30rem; border: 1px solid var(--line); }
table { border-collapse: collapse; font-size: .9rem; width: 100%; font-variant-numeric: tabular-nums;
  overflow-wrap: normal; }
caption { text-align: left; font-weight: 600; padding: .4rem .6rem; }
th, td { padding: .25rem .6rem; text-align: left; border-bottom: 1px solid var(--line); white-space: nowrap; }
.number { text-align: right; }
th { position: sticky; top: 0; background: var(--field); padding: 0; }
th button { border: 0; width: 100%; text-align: inherit; font-weight: 600; cursor: pointer; white-space: nowrap; }
th[aria-sort=ascending] button::after { content: " \25b2"; }
th[aria-sort=descending] button::after { content: " \25bc"; }
@media print { .tools, nav, header button { display: none; } .scroll { max-height: none; overflow: visible; } }
)";

static constexpr char script[] = R"(
'use strict';
const root = document.documentElement, scheme = document.getElementById('scheme');
const names = { '': 'as the system', light: 'light', dark: 'dark' };
scheme.hidden = false;
scheme.addEventListener('click', () => {
  const all = Object.keys(names), next = all[(all.indexOf(root.dataset.scheme || '') + 1) % all.length];
  root.dataset.scheme = next;
  scheme.textContent = 'Colours: ' + names[next];
});
for (const part of document.querySelectorAll('.table')) {
  const body = part.querySelector('tbody'), rows = [...body.rows], count = part.querySelector('output');
  const search = part.querySelector('input'), tell = shown => {
    count.textContent = shown + ' of ' + rows.length + ' rows';
  };
  part.querySelector('.tools').hidden = false;
  tell(rows.length);
  search.addEventListener('input', () => {
    const words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    for (const row of rows) {
      const text = row.textContent.toLowerCase();
      row.hidden = !words.every(word => text.includes(word));
      shown += row.hidden ? 0 : 1;
    }
    tell(shown);
  });
  const heads = [...part.querySelectorAll('th')];
  heads.forEach((head, column) => head.firstElementChild.addEventListener('click', () => {
    const isUp = head.getAttribute('aria-sort') !== 'ascending';
    for (const other of heads) other.removeAttribute('aria-sort');
    head.setAttribute('aria-sort', isUp ? 'ascending' : 'descending');
    const value = row => row.cells[column].textContent;
    const number = row => { const text = value(row); return text.trim() === '' ? NaN : Number(text); };
    const compare = (a, b) => {
      const x = number(a), y = number(b);
      if (!isNaN(x) && !isNaN(y)) return isUp ? x - y : y - x;
      if (isNaN(x) !== isNaN(y)) return isNaN(x) ? 1 : -1;
      return (isUp ? 1 : -1) * (value(a) < value(b) ? -1 : value(a) > value(b) ? 1 : 0);
    };
    rows.sort(compare);
    body.append(...rows);
  }));
}
)";

// SHA-256 of the script, for the page's rules; where it is stale the script does not run.
static constexpr char scriptHash[] = "JYpruhuNtTagWZiER3SDp09rggKXUghOq4uoPYi2x2c=";

static std::string markupOf(std::string_view text)
{
    return escapedMarkup(shownText(text, size_t(-1)));
}

void Page::section(std::string_view heading)
{
    const std::string id = "section" + std::to_string(++m_sections);
    m_contents += "<li><a href=\"#" + id + "\">" + markupOf(heading) + "</a></li>\n";
    m_body += "<h2 id=\"" + id + "\">" + markupOf(heading) + "</h2>\n";
}

void Page::paragraph(std::string_view text)
{
    m_body += "<p>" + markupOf(text) + "</p>\n";
}

void Page::code(std::string_view text)
{
    m_body += "<pre>" + markupOf(text) + "</pre>\n";
}

static void replaceAll(std::string &text, const std::string &from, const std::string &to)
{
    for (size_t place = 0; (place = text.find(from, place)) != text.npos; place += to.size())
        text.replace(place, from.size(), to);
}

// What gnuplot writes for this colour.
static std::string svgColour(Colour colour)
{
    char text[32];
    unsigned parts[3] = {};
    std::sscanf(std::string(colour).c_str(), "#%2x%2x%2x", &parts[0], &parts[1], &parts[2]);
    std::snprintf(text, sizeof text, "rgb(%3u, %3u, %3u)", parts[0], parts[1], parts[2]);
    return text;
}

// A picture's tags, for a page with several: names of its own, and the page's colours.
static std::string adapted(std::string tag, const std::string &prefix)
{
    static constexpr std::pair<Colour, const char *> colours[]
        = {{blue, "blue"},   {vermillion, "vermillion"}, {sky, "sky"},   {orange, "orange"},
           {green, "green"}, {purple, "purple"},         {grey, "grey"}, {lightGrey, "lightgrey"}};
    for (const char *quote : {"\"", "'"})
        replaceAll(tag, std::string(" id=") + quote, std::string(" id=") + quote + prefix);
    replaceAll(tag, "href='#", "href='#" + prefix);
    replaceAll(tag, "aria-labelledby=\"title desc\"", "aria-labelledby=\"" + prefix + "title " + prefix + "desc\"");
    replaceAll(tag, "\"black\"", "\"currentColor\"");
    for (const auto &[colour, name] : colours)
        replaceAll(tag, svgColour(colour), std::string("var(--") + name + ")");
    return tag;
}

void Page::picture(const Figure &figure)
{
    const std::string prefix = "p" + std::to_string(++m_pictures) + "-", svg = drawn(figure, Format::Page);
    m_body += "<figure>\n";
    // Tags only: text between them stays as it is.
    for (size_t place = svg.find("<svg"); place < svg.size();) {
        const bool isTag = svg[place] == '<';
        size_t end = svg.find(isTag ? '>' : '<', place);
        end = end == svg.npos ? svg.size() : end + isTag;
        const std::string part = svg.substr(place, end - place);
        m_body += isTag ? adapted(part, prefix) : part;
        place = end;
    }
    m_body += "<figcaption>" + markupOf(figure.description) + "</figcaption>\n</figure>\n";
}

void Page::table(std::string_view caption, const std::vector<std::string> &head,
                 const std::vector<std::vector<std::string>> &rows)
{
    const std::string id = "search" + std::to_string(++m_tables);
    m_body += "<div class=\"table\">\n<div class=\"tools\" hidden><label for=\"" + id + "\">Search</label> <input id=\""
              + id + "\" type=\"search\"> <output for=\"" + id
              + "\" class=\"quiet\"></output></div>\n"
                "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\""
              + markupOf(caption) + "\"><table>\n<caption>" + markupOf(caption) + "</caption>\n<thead><tr>";
    const auto fieldOf = [](const std::vector<std::string> &row, size_t column) {
        return column < row.size() ? std::string_view(row[column]) : std::string_view();
    };
    // A column of numbers, some of which may be missing, stands to the right.
    std::vector<const char *> classes;
    for (size_t column = 0; column < head.size(); ++column) {
        const bool isNumeric = std::ranges::all_of(rows, [&](const std::vector<std::string> &row) {
            const std::string_view field = fieldOf(row, column);
            return field.empty() || field == "NA" || !std::isnan(numberIn(field));
        });
        classes.push_back(isNumeric ? " class=\"number\"" : "");
        m_body += std::string("<th scope=\"col\"") + classes.back() + "><button type=\"button\">"
                  + markupOf(head[column]) + "</button></th>";
    }
    m_body += "</tr></thead>\n<tbody>\n";
    for (const std::vector<std::string> &row : rows) {
        m_body += "<tr>";
        for (size_t i = 0; i < head.size(); ++i)
            m_body += std::string("<td") + classes[i] + ">" + markupOf(fieldOf(row, i)) + "</td>";
        m_body += "</tr>\n";
    }
    m_body += "</tbody>\n</table></div>\n</div>\n";
}

std::string Page::html() const
{
    // The page may run its own script and nothing else, and ask nobody for anything.
    const std::string title = markupOf(m_title);
    return std::string("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
                       "'unsafe-inline'; script-src 'sha256-")
           + scriptHash + "'\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>"
           + title + "</title>\n<style>" + style + "</style>\n</head>\n<body>\n<header><h1>" + title
           + "</h1> <button id=\"scheme\" type=\"button\" hidden>Colours: as the system</button></header>\n"
             "<p class=\"quiet\">Made by morvel-plot "
           + programVersion + ".</p>\n<nav aria-label=\"Contents\"><ul>\n" + m_contents + "</ul></nav>\n<main>\n"
           + m_body + "</main>\n<script>" + script + "</script>\n</body>\n</html>\n";
}

}  // namespace plot
