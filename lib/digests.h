// Digests, signatures and passwords, chance, and bytes as digits. The work is done by nettle, zlib and libcrypt.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define DIGEST_BUILTINS(X)                                                                         \
  X("base64dec", base64dec,                                                                        \
    "base64dec(cDigits) -> cBytes: the bytes that base64enc() wrote; also with - and _ for + and " \
    "/, and without = at the end",                                                                 \
    "base64dec('SGk=') ==> Hi")                                                                    \
  X("base64enc", base64enc,                                                                        \
    "base64enc(cBytes, [lUrl]) -> cDigits: in base 64, with .T. as names and addresses may have "  \
    "it",                                                                                          \
    "base64enc('Hi') ==> SGk=")                                                                    \
  X("crc32", crc32_function,                                                                       \
    "crc32(cBytes, [nFormer]) -> nSum: the sum of zip files, going on "                            \
    "from a former one",                                                                           \
    "crc32('123456789') ==> 3421780262")                                                           \
  X("hexdec", hexdec, "hexdec(cDigits) -> cBytes: bytes of two hexadecimal digits each",           \
    "hexdec('4869') ==> Hi")                                                                       \
  X("hexenc", hexenc, "hexenc(cBytes) -> cDigits: each byte as two hexadecimal digits",            \
    "hexenc('Hi') ==> 4869")                                                                       \
  X("hmacsha256", hmacsha256,                                                                      \
    "hmacsha256(cBytes, cKey) -> cDigits: their digest under a key, in hexadecimal digits",        \
    "left(hmacsha256('Hi', 'key'), 8) ==> 79072ecd")                                               \
  X("pwhash", pwhash,                                                                              \
    "pwhash(cPassword) -> cHash: what to keep in the place of a password: a slow hash with "       \
    "chance "                                                                                      \
    "in it",                                                                                       \
    "pwverify('secret', pwhash('secret')) ==> .T.")                                                \
  X("pwverify", pwverify, "pwverify(cPassword, cHash) -> lSame: is it the password of a hash",     \
    "pwverify('secret', '') ==> .F.")                                                              \
  X("random", random_function,                                                                     \
    "random([nFrom, nTo]) -> nNumber: a whole number from one to another by chance, or one from "  \
    "0 "                                                                                           \
    "to below 1",                                                                                  \
    "random(3, 3) ==> 3")                                                                          \
  X("randtext", randtext,                                                                          \
    "randtext(nBytes) -> cDigits: so many bytes by chance as base64enc(, .T.) has them, for "      \
    "tokens",                                                                                      \
    "len(randtext(24)) ==> 32")                                                                    \
  X("sha256", sha256, "sha256(cBytes) -> cDigits: their digest in hexadecimal digits",             \
    "left(sha256('abc'), 8) ==> ba7816bf")                                                         \
  X("signtext", signtext,                                                                          \
    "signtext(cText, cKey) -> cSigned: a text with its signature, which only who has the key can " \
    "make",                                                                                        \
    "verifytext(signtext('user 7', 'key'), 'key') ==> user 7")                                     \
  X("verifytext", verifytext,                                                                      \
    "verifytext(cSigned, cKey) -> cText | NIL: the text, when the signature is the key's",         \
    "verifytext('user 8.x', 'key') ==> NIL")

DIGEST_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kDigestBuiltins[] = {DIGEST_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kDigestsModule{
    .name = "digests", .subject = "Digests and chance", .functions = kDigestBuiltins};

}  // namespace tarnel
