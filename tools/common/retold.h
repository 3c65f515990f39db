#ifndef TANEXICS_TOOLS_COMMON_RETOLD_H
#define TANEXICS_TOOLS_COMMON_RETOLD_H

#include <initializer_list>
#include <string>

/// What a library has said in English, in the language that is spoken.
///
/// `text`      what it has said.
/// `messages`  what it may have said, marked for translation, with at most three places for values;
///             the more particular ones before the more general.
///
/// A text that is none of them stays as it is.
std::string retold(const std::string& text, std::initializer_list<const char*> messages);

#endif
