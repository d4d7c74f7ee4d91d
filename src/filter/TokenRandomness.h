#pragma once

#include <QStringView>

// Tells random data (keys, tokens, generated passwords) from words, names, product codes and
// program identifiers by what it costs to write a token out as English: letters cost the
// surprise of each letter after the one before it in English spelling, digits, separators and
// signs cost fixed amounts, and so does every change from one kind of character to another.
// English words cost about 3.5 bits a letter; random letters 5.5 and more.
//
// Passwords shorter than twelve characters are out of reach here and need not be in reach: at
// that length a made-up password and an unusual word or name look alike, so the filter leaves
// them to the concealed-source rule and to the key-value rule ("password: …").
namespace TokenRandomness {

// For a token shaped like an identifier (letters then digits in each part): whether its letter
// parts spell words, as "base64EncodedString" and "CONFIG_NET_IPV4_TCP" do and
// "xqzvbkwjrtplmnhd" does not.
bool identifierReadsAsWords(QStringView token);

// For any other token without white space: whether it reads as random data. Hex strings that
// mix digits and letters always do.
bool looksRandom(QStringView token);

// The estimate itself, in bits per character (for the measurements).
double bitsPerCharacter(QStringView token);

} // namespace TokenRandomness
