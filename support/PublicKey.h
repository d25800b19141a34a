// _tvPublicKey: PEM armour (RFC 7468) around DER.
#pragma once

namespace ecckey {

class DataBuffer;
class StringBuffer;
class LogBase;

class _tvPublicKey {
  public:
    // Appends "-----BEGIN label-----", the base64 of der in lines of 64 characters and
    // "-----END label-----", each line ended by "\n".
    [[nodiscard]] static bool derToPem(const char *label, const DataBuffer &der, StringBuffer &out,
                                       LogBase &log);
    // Reads the first PEM block of text: its label into label and its decoded bytes into der (marked
    // sensitive). False, logged, when there is no well-formed block (BEGIN and END labels must match;
    // RFC 7468 header lines such as Proc-Type are refused).
    [[nodiscard]] static bool pemToDer(const char *text, StringBuffer &label, DataBuffer &der, LogBase &log);
};

}  // namespace ecckey
