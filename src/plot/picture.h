// What every kind of picture has in common: the options of the picture as a file, and its making.
#pragma once

#include "main/options.h"
#include "plot/gnuplot.h"

#include <functional>
#include <string>
#include <vector>

namespace plot {

inline constexpr InputOption fileOption = {"-file", Use::Required, "what is to be drawn; plain or compressed"};
inline constexpr OutputOption outOption
    = {"-out", "", "picture; its ending .png, .svg or .pdf is the format", {.use = Use::Required}};
inline constexpr TextOption titleOption = {"-title", "", "above the picture"};
inline constexpr RealOption widthOption = {"-width", columnWidth, "width in millimetres"};
inline constexpr RealOption heightOption
    = {"-height", std::nullopt, "height in millimetres, instead of one that suits"};
inline constexpr SwitchOption scriptOption
    = {"-script", "yes: keep gnuplot's script with its data beside the picture, under its name + .gp"};

class Picture {
public:
    // Reads the shared options and refuses what cannot work before long work begins. `inputs` are all files that will
    // be read.
    explicit Picture(const std::vector<std::string> &inputs);

    const Size &size() const { return m_size; }
    // Draws the figure, with the title where one is given, into the file.
    void save(Figure figure) const;

private:
    std::string m_name, m_script, m_title;
    Format m_format;
    Size m_size;
};

// A picture of the one file that -file names.
void drawFile(const std::function<Figure(const std::string &file, const Size &size)> &draw);

}  // namespace plot
