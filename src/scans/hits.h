// The rows that the scans write and the lines that they print at their end.
#pragma once

#include "scans/fit.h"
#include "text/writer.h"

#include <string_view>

// One row for hits: phenotype, marker, slope, R2, t and p.
void writeHitHeader(text::Writer &out);
void writeHit(std::string_view phenotype, std::string_view marker, const Fit &fit, text::Writer &out);

// "group1", "group2", ... up to testgroups: the last columns of the statistics header, with its line break.
void writeGroupColumns(text::Writer &out);

// The closing lines that name the four files, which are complete: `best` are in the hit file, the summary is by `row`.
void printFileNames(const char *best, const char *row);
