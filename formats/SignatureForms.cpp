#include "SignatureForms.h"

#include <string>

#include "ecc/EcdsaSig.h"

#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/MpInt.h"

namespace ecckey::formats {

bool isDerSignature(const DataBuffer &sig) {
    LogRecorder probe;
    probe.m_verbose = true;
    mp_int r;
    mp_int s;
    (void)unpackDsaSig(sig.getData2(), sig.getSize(), false, r, s, probe, 0);  // only the test counts
    std::string isDer;
    return probe.dataValue("isAsnSig", isDer) && isDer == "true";
}

}  // namespace ecckey::formats
