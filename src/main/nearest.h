// The name that a person meant who typed another one.
#pragma once

#include <span>
#include <string>
#include <string_view>

// The word in double quotes, for messages.
std::string quoted(std::string_view word);

// "; did you mean ...?" with the nearest name, the first of equals, or nothing where none is near: one letter in
// three may be wrong, or the end be missing; where none is as near, the first one that begins with the same five, or
// with the letter of an option of one.
std::string suggestion(std::string_view typed, std::span<const std::string_view> names);
