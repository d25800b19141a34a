// ecckey: elliptic-curve keys on thirteen named curves: generation, ECDSA, ECDH and key encodings.
//
// Everything lives in namespace ecckey. Include this header and link the ecckey library.
#pragma once

#include "ecc/EccCurve.h"
#include "ecc/EccKey.h"
#include "ecc/EccPoint.h"
#include "support/DataBuffer.h"
#include "support/Hash.h"
#include "support/JsonObject.h"
#include "support/LogBase.h"
#include "support/MpInt.h"
#include "support/Prng.h"
#include "support/StringBuffer.h"
#include "support/TovarMp.h"
#include "support/Xml.h"
