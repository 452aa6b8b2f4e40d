// Regression scan: every phenotype against every marker. Not available yet.
#include "modes/modes.h"

constinit const Mode regscan1Mode = {{"regscan1"}, reportUnavailable, {}, "Scans phenotypes by regression"};
