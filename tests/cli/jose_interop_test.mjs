// ecckey against Node's `jose`: JWK thumbprints and their URIs on the four curves with a JWK name, keys with
// a leading zero byte in x or in y included; compact JWS both ways, and the tokens ecckey must refuse;
// COSE_Key both ways through cbor-x, compared with the keys' JWKs. Exit 77 (skipped) when jose is not installed.
// usage: node jose_interop_test.mjs ECCKEY WORKDIR NODE_PREFIX
import { createRequire } from "module";
import { execFileSync, spawnSync } from "child_process";
import crypto from "crypto";
import fs from "fs";

const [ecckey, work, prefix] = process.argv.slice(2);
let jose, cbor;
try {
  jose = createRequire(prefix + "/")("jose");
  const { Encoder } = createRequire(prefix + "/")("cbor-x");
  cbor = new Encoder({ mapsAsObjects: false, useRecords: false, tagUint8Array: false });
} catch {
  console.log(`SKIP: jose or cbor-x is not installed in ${prefix} (make deps installs it)`);
  process.exit(77);
}
fs.mkdirSync(work, { recursive: true });
const run = (...args) => execFileSync(ecckey, args, { encoding: "utf8" }).trim();
const fail = (what) => { console.error(`FAIL: ${what}`); process.exit(1); };
const ALGS = { "P-256": "ES256", "P-384": "ES384", "P-521": "ES512", secp256k1: "ES256K" };
const COSE_ALG = { ES256: -7, ES384: -35, ES512: -36, ES256K: -47 };
const COSE_CRV = { "P-256": 1, "P-384": 2, "P-521": 3, secp256k1: 8 };
const verdict = (...args) => spawnSync(ecckey, ["verify", ...args], { encoding: "utf8" });
const CURVES = { "P-256": "prime256v1", "P-384": "secp384r1", "P-521": "secp521r1", secp256k1: "secp256k1" };

// A key of the curve; lead "x" or "y": one whose coordinate starts with a zero byte.
function makeKey(crv, curve, lead) {
  const ecdh = crypto.createECDH(curve);
  for (;;) {
    const point = ecdh.generateKeys();
    const len = (point.length - 1) / 2;
    if (lead && point[lead === "x" ? 1 : 1 + len] !== 0) continue;
    const b64 = (b) => b.toString("base64url");
    const d = b64(Buffer.concat([Buffer.alloc(len), ecdh.getPrivateKey()]).subarray(-len));
    const jwk = { kty: "EC", crv, x: b64(point.subarray(1, 1 + len)), y: b64(point.subarray(1 + len)), d };
    return { privateKey: crypto.createPrivateKey({ key: jwk, format: "jwk" }), jwk };
  }
}

let rows = 0;
const files = [], thumbprints = [];
for (const [crv, curve] of Object.entries(CURVES)) {
  for (const lead of [null, "x", "y"]) {
    const { privateKey, jwk } = makeKey(crv, curve, lead);
    const file = `${work}/${crv}-${lead}.pem`;
    fs.writeFileSync(file, privateKey.export({ format: "pem", type: "pkcs8" }));
    const want = await jose.calculateJwkThumbprint(jwk, "sha256");
    const got = [run("fingerprint", file, "--jwk"), JSON.parse(run("pub", file, "--format", "jwk", "--set-kid", "thumbprint")).kid];
    if (got.some((t) => t !== want)) fail(`${crv} lead ${lead}: thumbprints ${got} != jose ${want}`);
    if (run("fingerprint", file, "--uri") !== (await jose.calculateJwkThumbprintUri(jwk))) fail(`${crv}: URI`);
    // JWS: ecckey signs, jose verifies; jose signs (with a kid in its header), ecckey verifies.
    const alg = ALGS[crv], payload = crypto.randomBytes(1 + rows);
    fs.writeFileSync(`${work}/payload`, payload);
    const token = run("sign", file, "--in", `${work}/payload`, "--sig-format", "jws");
    const checked = await jose.compactVerify(token, privateKey, { algorithms: [alg] });
    if (!Buffer.from(checked.payload).equals(payload)) fail(`${crv}: jose read another payload`);
    const theirs = await new jose.CompactSign(payload).setProtectedHeader({ alg, kid: "k1" }).sign(privateKey);
    const [h, p, sig] = theirs.split(".");
    const der = crypto.sign(null, Buffer.from(`${h}.${p}`), { key: privateKey, dsaEncoding: "der" });
    const flipped = Buffer.from(sig, "base64url").map((b, i) => (i === 5 ? b ^ 1 : b));
    const other = alg === "ES384" ? "ES256" : "ES384";
    const cases = [[theirs, [], 0], [`${h}.${p}.${flipped.toString("base64url")}`, [], 1],
      [`${h}.${p}.${der.toString("base64url")}`, [], 1], [theirs, ["--alg", other], 1]];
    for (const [text, extra, want] of cases) {
      fs.writeFileSync(`${work}/token`, text);
      if (verdict(file, "--sig", `${work}/token`, ...extra).status !== want) fail(`${crv}: ${text} ${extra}: not ${want}`);
    }
    // COSE: ecckey's key as cbor-x reads it is the JWK's; the JWK as cbor-x writes it is ecckey's key.
    const cose = cbor.decode(execFileSync(ecckey, ["convert", file, "--format", "cose"]));
    const b = (v) => Buffer.from(v, "base64url");
    const want2 = [[1, 2], [-1, COSE_CRV[crv]], [-2, b(jwk.x)], [-3, b(jwk.y)], [-4, b(jwk.d)]];
    if (want2.some(([k, v]) => !Buffer.from(Buffer.isBuffer(v) ? v : [v]).equals(Buffer.from(Buffer.isBuffer(v) ? cose.get(k) : [cose.get(k)]))))
      fail(`${crv}: cbor-x reads another COSE key`);
    const tagged = cbor.decode(execFileSync(ecckey, ["pub", file, "--format", "cose", "--set-kid", crv, "--alg", alg]));
    if (Buffer.from(tagged.get(2)).toString() !== crv || tagged.get(3) !== COSE_ALG[alg] || tagged.has(-4)) fail(`${crv}: COSE kid, alg`);
    fs.writeFileSync(`${work}/k.cose`, cbor.encode(new Map(want2)));
    if (JSON.parse(run("convert", `${work}/k.cose`, "--format", "jwk")).d !== jwk.d) fail(`${crv}: cbor-x's COSE key`);
    files.push(file);
    thumbprints.push(want);
    rows++;
  }
}
// One JWK Set of the twelve public keys, each with its thumbprint as kid, in the order given.
const set = JSON.parse(run("jwks", ...files, "--set-kid", "thumbprint", "--use", "sig")).keys;
if (set.map((k) => k.kid).join() !== thumbprints.join() || set.some((k) => k.d || k.use !== "sig")) fail("jwks");
// A curve without a registered "crv" has no thumbprint.
run("gen", "brainpoolP256r1", "-o", `${work}/bp.pem`, "--force");
const refused = spawnSync(ecckey, ["fingerprint", `${work}/bp.pem`, "--jwk"], { encoding: "utf8" });
if (refused.status !== 2 || !refused.stderr.startsWith("ecckey: no JWK thumbprint for brainpoolp256r1 (P-256, P-384"))
  fail(`brainpool thumbprint: ${refused.status} ${refused.stderr}`);
console.log(`jose: ${rows} thumbprints, URIs and JWS both ways and COSE both ways match; ${4 * rows} JWS verdicts right`);
