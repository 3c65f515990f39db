#ifndef TANEXICS_TOOLS_COMMON_LANGUAGE_H
#define TANEXICS_TOOLS_COMMON_LANGUAGE_H

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

// The language of what people read. Messages stand in the sources in English, and are looked up in
// the catalogue that the build makes of po/LANGUAGE.po. A message is a whole: it is never put
// together of pieces of a sentence. `%s` in it stands for the next value, and `%2$s` for the second
// one, as a language may need another order; msgfmt(1) holds translations to that. Texts are UTF-8
// up to where they are printed.
//
// Until `speakAsCaller` is called, and where there is no catalogue, everything is English.

/// Speaks the language of the caller's environment (LC_ALL, LC_MESSAGES, LANG; LANGUAGE) from now
/// on, if there is a catalogue of it and if the caller's character set has its characters. No
/// catalogue is taken from anywhere but below the program's own folder or `installed`, whatever the
/// environment says; a LANGUAGE with a slash in it, which could lead away from there, is removed
/// from it. Opens files: standard descriptors that are closed have to be occupied before.
///
/// `installed`  the folder of the catalogues, as seen from that of the program, or absolute; not
///              looked at where the program's own has share/locale, as in the build folder.
void speakAsCaller(const std::string& installed);

/// Speaks English from now on: for what other programs read. The system's reasons, of strerror(3),
/// are English again too.
void speakEnglish();

/// Whether another language than English is spoken.
bool isTranslated();

/// `text`, which is UTF-8, as the caller's terminal takes it where another language than English is
/// spoken: in the character set of the locale, and what that has not as `\xHH` for each byte of
/// UTF-8. In English as it is.
std::string asCallerReads(std::string_view text);

/// The message `format` with `values` in their places; see above. `%%` is a percent sign. A place
/// without a value stays empty.
std::string filled(const char* format, std::initializer_list<std::string_view> values);

/// The translation of a message that has been marked; itself where there is none.
const char* translation(const char* message);

/// Marks a message that is looked up elsewhere, such as one of a table.
constexpr const char* marked(const char* message) { return message; }

/// A message in the language that is spoken, with `values` in their places.
std::string translated(const char* message, std::initializer_list<std::string_view> values = {});

/// The same of one that depends on a number: English has the two forms `one` and `many`, other
/// languages as many as they need. The number itself is a value like any other.
std::string translatedCount(const char* one, const char* many, std::uint64_t number,
                            std::initializer_list<std::string_view> values);

#endif
