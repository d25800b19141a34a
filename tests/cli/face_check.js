// Node's side of the installed-package check.
//   node face_check.js raw PUB.pem FILE SIGHEX   exit 0 when crypto.verify takes the raw r||s (ieee-p1363)
//   node face_check.js rewrap SIGHEX             prints the DER of the two SSH mpints, in hexadecimal
//   node face_check.js jwk KEY.pem               prints crv, x, y, d of Node's own JWK of the key
'use strict';
const crypto = require('crypto');
const fs = require('fs');
const [mode, a, b, c] = process.argv.slice(2);

function derInteger(mpint) {
    let v = mpint;
    while (v.length > 1 && v[0] === 0 && !(v[1] & 0x80)) v = v.subarray(1);
    if (v[0] & 0x80) v = Buffer.concat([Buffer.from([0]), v]);
    return Buffer.concat([Buffer.from([0x02, v.length]), v]);
}

if (mode === 'raw') {
    const ok = crypto.verify('sha256', fs.readFileSync(b), {key: fs.readFileSync(a), dsaEncoding: 'ieee-p1363'},
                             Buffer.from(c, 'hex'));
    process.exit(ok ? 0 : 1);
} else if (mode === 'rewrap') {
    const sig = Buffer.from(a, 'hex');
    const r = sig.subarray(4, 4 + sig.readUInt32BE(0));
    const s = sig.subarray(8 + r.length, 8 + r.length + sig.readUInt32BE(4 + r.length));
    const body = Buffer.concat([derInteger(r), derInteger(s)]);
    const len = body.length < 128 ? Buffer.from([body.length]) : Buffer.from([0x81, body.length]);
    console.log(Buffer.concat([Buffer.from([0x30]), len, body]).toString('hex'));
} else if (mode === 'jwk') {
    const jwk = crypto.createPrivateKey(fs.readFileSync(a)).export({format: 'jwk'});
    console.log([jwk.crv, jwk.x, jwk.y, jwk.d].join(' '));
}
