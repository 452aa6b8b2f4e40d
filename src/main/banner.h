#pragma once

inline constexpr char programVersion[] = "1.3.7";

// Prints the start-up banner: name, version and where to ask.
void welcome();
