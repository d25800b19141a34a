// _tvPublicKey: PEM armour (RFC 7468) around DER.
#pragma once

namespace ecckey {

class DataBuffer;
class StringBuffer;
class LogBase;

class _tvPublicKey {
  public:
    // Appends "-----BEGIN label-----", the base64 of der in lines of 64 characters and
    // "-----END label-----", each line ended by "\n". False, out unchanged, with "Invalid PEM label." (a
    // null or empty label, or not an RFC 7468 label: printable characters, single hyphens or spaces
    // between them), "Failed to base64 encode DER." or "Out of memory writing PEM.".
    [[nodiscard]] static bool derToPem(const char *label, const DataBuffer &der, StringBuffer &out,
                                       LogBase &log);
    // Reads the first PEM block of text, skipping lines before it: its label replaces label and its
    // decoded bytes replace der (marked sensitive). CRLF endings and trailing blanks are tolerated. False,
    // label and der unchanged, with "No PEM BEGIN line found.", "Invalid PEM BEGIN line.", "PEM END line
    // not found.", "PEM header lines are not supported." (a line with ':' such as Proc-Type), "Invalid PEM
    // END line.", "PEM BEGIN and END labels differ." (with the data items "beginLabel" and "endLabel") or
    // "Invalid base64 in PEM body."; "Out of memory reading PEM." when memory is short (der and label may
    // then be empty).
    [[nodiscard]] static bool pemToDer(const char *text, StringBuffer &label, DataBuffer &der, LogBase &log);
};

}  // namespace ecckey
