// convertSignature: any bytes in each form on a 32- and a 66-byte curve. A signature accepted in one form is
// canonical: converted to any form and back, it is the input byte for byte.
#include <cstdlib>

#include "FuzzSupport.h"
#include "formats/SigConvert.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer in;
    if (!in.append(data, (unsigned)size))
        return 0;
    for (int byteLen : {32, 66}) {
        for (SigForm from : {SigForm::Der, SigForm::Raw, SigForm::Ssh}) {
            for (SigForm to : {SigForm::Der, SigForm::Raw, SigForm::Ssh}) {
                FuzzLog log;
                DataBuffer out, back;
                if (convertSignature(byteLen, from, to, in, out, log) &&
                    (!convertSignature(byteLen, to, from, out, back, log) || !back.equals(in)))
                    std::abort();
            }
        }
    }
    return 0;
}
