#pragma once

// Prints the start-up banner: name, version and where to ask.
void welcome();
