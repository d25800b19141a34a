// The four explicit-parameter SubjectPublicKeyInfo templates of the long public-key form.
//
// Generated once by scripts/make_explicit_templates.py from the SEC 2 domain parameters. Each
// template is SEQUENCE { SEQUENCE { id-ecPublicKey, ECParameters }, BIT STRING point } with the base point
// G as its sample public point; the writer replaces that point with the key's own point of the same
// length, so the output keeps the template's size. The field widths are those existing files use and
// are kept as they are: P-521 writes b in 65 bytes (no leading zero), secp256k1 writes a and b as one
// byte each and carries no seed.
#include "ecc/EccExplicitParams.h"

#include <cstring>

namespace ecckey {

namespace {

// secp256r1: 335 bytes; a and b 32 bytes each, 20-byte seed.
const char s_spkiP256[] =
    "MIIBSzCCAQMGByqGSM49AgEwgfcCAQEwLAYHKoZIzj0BAQIhAP////8AAAABAAAAAAAAAAAAAAAA////////////////MFsE"
    "IP////8AAAABAAAAAAAAAAAAAAAA///////////////8BCBaxjXYqjqT57PrvVV2mIa8ZR0GsMxTsPY7zjw+J9JgSwMVAMSd"
    "NgiG5wSTamZ44ROdJreBn36QBEEEaxfR8uEsQkf4vOblY6RA8ncDfYEt6zOg9KE5RdiYwpZP40Li/hp/m47n60p8D54WK84z"
    "V2sxXs7LtkBoN79R9QIhAP////8AAAAA//////////+85vqtpxeehPO5ysL8YyVRAgEBA0IABGsX0fLhLEJH+Lzm5WOkQPJ3"
    "A32BLeszoPShOUXYmMKWT+NC4v4af5uO5+tKfA+eFivOM1drMV7Oy7ZAaDe/UfU=";

// secp384r1: 464 bytes; a and b 48 bytes each, 20-byte seed.
const char s_spkiP384[] =
    "MIIBzDCCAWQGByqGSM49AgEwggFXAgEBMDwGByqGSM49AQECMQD//////////////////////////////////////////v//"
    "//8AAAAAAAAAAP////8wewQw//////////////////////////////////////////7/////AAAAAAAAAAD////8BDCzMS+n"
    "4j7n5JiOBWvj+C0ZGB2cbv6BQRIDFAiPUBOHWsZWOY2KLtGdKoXI7dPsKu8DFQCjNZJqoxmieh0AiWpnc6SCes2scwRhBKqH"
    "yiK+iwU3jrHHHvMgrXRuHTtii6ebmFn3QeCCVCo4VQLyXb9VKWw6VF44cnYKtzYX3kqWJixvXZ6Yv5KS3Cn49B29KJoUfOna"
    "MRO18LjACmCxzh1+gZ16Qx18kOoOXwIxAP///////////////////////////////8djTYH0Ny3fWBoNskiwp3rs7BlqzMUp"
    "cwIBAQNiAASqh8oivosFN46xxx7zIK10bh07Younm5hZ90HgglQqOFUC8l2/VSlsOlReOHJ2Crc2F95KliYsb12emL+Sktwp"
    "+PQdvSiaFHzp2jETtfC4wApgsc4dfoGdekMdfJDqDl8=";

// secp521r1: 608 bytes; a 66 bytes, b 65 bytes, 20-byte seed.
const char s_spkiP521[] =
    "MIICXDCCAc8GByqGSM49AgEwggHCAgEBME0GByqGSM49AQECQgH/////////////////////////////////////////////"
    "/////////////////////////////////////////zCBngRCAf//////////////////////////////////////////////"
    "///////////////////////////////////////8BEFRlT65YY4cmh+SmiGgtoVA7qLacluZsxXzuLSJkY7xCeFWGTlR7H6T"
    "exZSwL07sb8HNXPfiD0sNPHvRR/Ua1A/AAMVANCeiAApHLhTlsxnFzkyhKqg2mS6BIGFBADGhY4GtwQE6c2ePstmI5W0Qpxk"
    "gTkFP7Uh+CivYGtNPbqhS1537+dZKP4dwSei/6jeM0izwYVqQpv5fn4xwuW9ZgEYOSlqeJo7wARcil+0LH0b2Zj1RElXm0Ro"
    "F6+9Fyc+ZiyX7nKZXvQmQMVQuQE/rQdhNTxwhqJywkCIvpR2n9FmUAJCAf//////////////////////////////////////"
    "////+lGGh4O/L5Zrf8wBSPcJpdA7tcm4iZxHrrtvtx6ROGQJAgEBA4GGAAQAxoWOBrcEBOnNnj7LZiOVtEKcZIE5BT+1Ifgo"
    "r2BrTT26oUted+/nWSj+HcEnov+o3jNIs8GFakKb+X5+McLlvWYBGDkpaniaO8AEXIpftCx9G9mY9URJV5tEaBevvRcnPmYs"
    "l+5ymV70JkDFULkBP60HYTU8cIaicsJAiL6Udp/RZlA=";

// secp256k1: 248 bytes; a = 0x00 and b = 0x07 in one byte each, no seed.
const char s_spkiK256[] =
    "MIH1MIGuBgcqhkjOPQIBMIGiAgEBMCwGByqGSM49AQECIQD////////////////////////////////////+///8LzAGBAEA"
    "BAEHBEEEeb5mfvncu6xVoGKVzocLBwKb/NstzijZWfKBWxb4F5hIOtp3JqPEZV2k+/wOEQio/Re0SKaFVBmcR9CP+xDUuAIh"
    "AP////////////////////66rtzmr0igO7/SXozQNkFBAgEBA0IABHm+Zn753LusVaBilc6HCwcCm/zbLc4o2VnygVsW+BeY"
    "SDradyajxGVdpPv8DhEIqP0XtEimhVQZnEfQj/sQ1Lg=";

struct ExplicitTemplate {
    const char *curveName;
    const char *base64;
};

// Compared in this order.
const ExplicitTemplate s_templates[] = {
    {"secp256r1", s_spkiP256},
    {"secp384r1", s_spkiP384},
    {"secp521r1", s_spkiP521},
    {"secp256k1", s_spkiK256},
};

}  // namespace

const char *explicitSpkiTemplate(const char *curveName) {
    if (!curveName)
        return nullptr;
    for (const ExplicitTemplate &t : s_templates) {
        if (std::strcmp(curveName, t.curveName) == 0)
            return t.base64;
    }
    return nullptr;
}

}  // namespace ecckey
