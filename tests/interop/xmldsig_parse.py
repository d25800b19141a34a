#!/usr/bin/env python3
"""Parses ECKeyValue elements with Python's standard XML parser, for tests/enc_jwk_xml_test.cpp.

Reads one XML fragment per line on stdin and prints, per line, three tab-separated fields: the namespace
of the root element, the URI attribute of its NamedCurve child and the hex of the base64-decoded
PublicKey text (or "ERROR <message>").
"""
import base64
import sys
import xml.etree.ElementTree as ET

NS = "http://www.w3.org/2009/xmldsig11#"

for line in sys.stdin:
    line = line.rstrip("\n")
    if not line:
        continue
    try:
        root = ET.fromstring(line)
        if not root.tag.startswith("{"):
            raise ValueError("root element has no namespace: " + root.tag)
        ns, local = root.tag[1:].split("}")
        if local != "ECKeyValue":
            raise ValueError("root element is " + local)
        curve = root.find("{%s}NamedCurve" % ns)
        pub = root.find("{%s}PublicKey" % ns)
        if curve is None or pub is None:
            raise ValueError("NamedCurve or PublicKey missing")
        point = base64.b64decode(pub.text, validate=True)
        print("%s\t%s\t%s" % (ns, curve.get("URI"), point.hex().upper()))
    except Exception as e:  # reported to the test, which fails on it
        print("ERROR %s" % e)
