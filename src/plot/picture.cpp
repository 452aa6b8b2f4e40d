#include "plot/picture.h"
#include "main/console.h"
#include "text/files.h"

#include <cmath>

namespace plot {

static Format formatOf(const std::string &name)
{
    if (name.ends_with(".png"))
        return Format::Png;
    if (name.ends_with(".svg"))
        return Format::Svg;
    if (name.ends_with(".pdf"))
        return Format::Pdf;
    fatal("-out must end in .png, .svg or .pdf, not as '%s'\n", name.c_str());
}

static int pixelsOf(const RealOption &option)
{
    const double value = option.read();
    if (!(value >= 30 && value <= 1000))
        fatal("Option %s takes millimetres from 30 to 1000\n", option.name);
    return int(std::lround(value * pixelsPerMillimetre));
}

Picture::Picture(const std::vector<std::string> &inputs)
    : m_name(outOption.given().value_or(""))
    , m_title(titleOption.read())
    , m_format(formatOf(m_name))
    , m_size{pixelsOf(widthOption), heightOption.given() ? pixelsOf(heightOption) : 0, m_title.empty() ? 30 : 80,
             m_format != Format::Png}
{
    if (scriptOption.isOn())
        m_script = m_name + ".gp";
    for (const std::string &input : inputs)
        refuseSameFiles({input}, {m_name, m_script});
    requireGnuplot();
}

void Picture::save(Figure figure) const
{
    if (!m_title.empty()) {
        figure.title(m_title);
        figure.heading = shownText(m_title, 200);
    }
    if (!m_script.empty())
        writeWhole(m_script, scriptOf(figure, m_format, m_name));
    writeWhole(m_name, drawn(figure, m_format));
}

void drawFile(const std::function<Figure(const std::string &file, const Size &size)> &draw)
{
    const std::string file = fileOption.require();
    const Picture picture({file});
    picture.save(draw(file, picture.size()));
}

}  // namespace plot
