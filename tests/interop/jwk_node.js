// JWK interop through Node.js's built-in crypto, driven by tests/enc_jwk_xml_test.cpp.
//
// Reads one JSON request on stdin:
//   { "crv": "P-256", "ours": [ { "priv": "<jwk text>", "pub": "<jwk text>", "pubCrvFirst": "<jwk text>" } ],
//     "pems": [ "<PKCS #8 PEM written by OpenSSL>" ] }
// and writes one JSON reply on stdout:
//   { "ours": [ { "priv": <Node's re-export or {error}>, "pub": ..., "pubCrvFirst": ..., "webcrypto": ... } ],
//     "pems": [ <Node's private JWK export> ] }
// Each of our texts is parsed by JSON.parse, imported with createPrivateKey / createPublicKey (format
// 'jwk') and exported again as a JWK, so the caller can compare the numbers Node understood.
'use strict';
const crypto = require('crypto');

function readStdin() {
    return require('fs').readFileSync(0, 'utf8');
}

function importAndExport(text, isPrivate) {
    try {
        const jwk = JSON.parse(text);
        const key = isPrivate ? crypto.createPrivateKey({ key: jwk, format: 'jwk' })
                              : crypto.createPublicKey({ key: jwk, format: 'jwk' });
        return key.export({ format: 'jwk' });
    } catch (e) {
        return { error: String(e.message || e) };
    }
}

async function webcryptoImport(text, crv) {
    if (!['P-256', 'P-384', 'P-521'].includes(crv)) return null;  // WebCrypto knows the NIST curves only
    try {
        const key = await crypto.subtle.importKey('jwk', JSON.parse(text), { name: 'ECDH', namedCurve: crv },
                                                  true, []);
        return await crypto.subtle.exportKey('jwk', key);
    } catch (e) {
        return { error: String(e.message || e) };
    }
}

async function main() {
    const req = JSON.parse(readStdin());
    const reply = { ours: [], pems: [] };
    for (const o of req.ours) {
        reply.ours.push({
            priv: importAndExport(o.priv, true),
            pub: importAndExport(o.pub, false),
            pubCrvFirst: importAndExport(o.pubCrvFirst, false),
            webcrypto: await webcryptoImport(o.pub, req.crv),
        });
    }
    for (const pem of req.pems) {
        try {
            reply.pems.push(crypto.createPrivateKey(pem).export({ format: 'jwk' }));
        } catch (e) {
            reply.pems.push({ error: String(e.message || e) });
        }
    }
    process.stdout.write(JSON.stringify(reply));
}

main();
