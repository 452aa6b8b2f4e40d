// Joins the results of all parts into those of one run over everything.
#include "main/console.h"
#include "text/files.h"
#include "tools/gather/command.h"
#include "tools/gather/joining.h"
#include "tools/gather/newfile.h"
#include "tools/gather/verbs.h"

#include <optional>

namespace gather {

static constexpr InputOption partsOption
    = {"-parts", Use::Required, "what the parts have as their -out, with % in place of the number of the part"};
static constexpr OutputOption outOption
    = {"-out",
       "",
       "result; others go to it + .stats, .removed or .ranges, as those of the mode do",
       {.use = Use::Required}};
static constexpr const Option *options[] = {&partsOption, &outOption};

// Nor what the parts were made of, as far as it still goes by the name that it had.
static void refuseInputs(const Parts &parts, const std::string &output)
{
    const auto refuse = [&](const std::string &input) {
        if (text::exists(input) && text::isSameFile(output, input))
            fatal("Output file '%s' is also an input\n", output.c_str());
    };
    for (const Part &part : parts.parts) {
        refuse(part.name + recordSuffix);
        for (const Output &each : part.record.outputs)
            refuse(part.name + each.suffix);
        for (const std::string &input : part.record.inputs())
            refuse(input);
    }
}

static void joinInto(const Parts &parts, text::Writer &out, text::Writer *sideOut)
{
    const std::string side = parts.rule->side ? parts.rule->side : "";
    switch (parts.rule->joining) {
    case Joining::Bytes:
        joinBytes(parts, "", out);
        if (sideOut)
            joinBytes(parts, side, *sideOut);
        break;
    case Joining::LinesAndRows:
        joinBytes(parts, "", out);
        if (sideOut)
            joinRows(parts, side, *sideOut);
        break;
    case Joining::PhenotypeRows:
        joinRows(parts, "", out);
        joinPhenotypeStatistics(parts, *sideOut);
        break;
    case Joining::MarkerRows:
        joinRows(parts, "", out);
        joinMarkerStatistics(parts, *sideOut);
        break;
    case Joining::Regressions:
        joinRegressions(parts, out, *sideOut);
        break;
    case Joining::Mixtures:
        joinMixtures(parts, out);
        break;
    }
}

static void join()
{
    if (hasCommand())
        fatal("join takes no command\n");
    const std::string outname = *outOption.given();
    const Parts parts = readParts(partsOption.require());
    const bool hasSide = parts.rule->side && parts.record().hasOutput(parts.rule->side);
    const std::string sidename = hasSide ? outname + parts.rule->side : "";
    for (const std::string &name : {outname, sidename})
        refuseInputs(parts, name);
    NewFile out(outname);
    std::optional<NewFile> side;
    if (hasSide)
        side.emplace(sidename);
    joinInto(parts, out.out(), side ? &side->out() : nullptr);
    // The main one last: where it stands, all do.
    if (side)
        side->publish();
    out.publish();
}

constinit const Mode joinVerb = {{"join"}, join, options, "joins the results of all parts"};

}  // namespace gather
