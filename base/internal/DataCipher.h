// The cipher of enciphered reference data files. It keeps casual readers
// and editors out of shipped databases and detects damage; it is not meant
// to withstand an attacker. docs/FORMATS.md gives the layout.

#ifndef QUARN_BASE_INTERNAL_DATACIPHER_H_
#define QUARN_BASE_INTERNAL_DATACIPHER_H_

#include <string>

namespace quarn_cipher {

// Header, then the plain bytes XORed with the key stream.
std::string Encipher(const std::string& plain);
// False when the header, the length or the checksum does not match.
bool Decipher(const std::string& cipher, std::string* plain);

}  // namespace quarn_cipher

#endif  // QUARN_BASE_INTERNAL_DATACIPHER_H_
