#pragma once

#include <QString>

// Small text helpers shared by several parts of the program.
namespace StringExtensions {

// The text without blanks and line ends at both ends.
QString trim(const QString& text);

// UTF-8 percent-encoding that leaves only letters, digits and "-._~" as they are; every one
// of "!*'();:@&=+$,/?%#[]" is escaped as well, so the result is safe as one query value.
QString URLEncodedString(const QString& text);

// Replaces every percent escape, reading the bytes as UTF-8. A null string when an escape is
// malformed or the bytes are not UTF-8; a text without escapes comes back unchanged.
QString URLDecodedString(const QString& text);

} // namespace StringExtensions
