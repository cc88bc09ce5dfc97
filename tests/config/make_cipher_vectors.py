#!/usr/bin/python3
"""Prints the cipher texts of encrypted_value_test.cpp. Needs the Debian package python3-pycryptodome; the test itself does not."""
import base64
import hashlib

from Cryptodome.Cipher import ARC2

BLOCK = 8
KEY_BYTES = 5
SALT = bytes(11)  # the provider's, for keys of 40 bits

for plain, phrase in ((b"secret", b"pass"), (b"", b"x"), (b"12345678", b"key \xe9")):
    key = hashlib.md5(phrase).digest()[:KEY_BYTES] + SALT
    padding = BLOCK - len(plain) % BLOCK
    cipher = ARC2.new(key, ARC2.MODE_CBC, iv=bytes(BLOCK), effective_keylen=8 * KEY_BYTES)
    print(plain, phrase, base64.b64encode(cipher.encrypt(plain + bytes([padding]) * padding)).decode())
