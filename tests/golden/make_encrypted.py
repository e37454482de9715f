"""Makes files/encrypted.quav, an encrypted system file of two chunks, from docs/encryption.md alone.

    make_encrypted.py OUT

The script shares nothing with the library, not even the cipher: it implements the cipher from its standards (FIPS 197,
SP 800-38D) and first checks it against two known answers. The file was made once and is kept, so that later versions
still read today's files.
"""

import hashlib
import pathlib
import struct
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "cli"))

from system_file import SystemFile  # noqa: E402

PASSWORD = "sw\u00f6rdfish & cr\u00e8me"
SALT = bytes(range(32))
LOG_N, R, P = 17, 8, 1
CHUNK = 64 * 1024
CASES = 8300

# ---- AES-256, one block at a time ----


def substitution_box():
    box = [0x63] * 256
    power = inverse = 1
    while True:
        power ^= (power << 1) & 0xFF ^ (0x1B if power & 0x80 else 0)  # times 3
        inverse ^= inverse << 1  # divided by 3
        inverse ^= inverse << 2
        inverse ^= inverse << 4
        inverse &= 0xFF
        inverse ^= 0x09 if inverse & 0x80 else 0
        turned = [(inverse << turn | inverse >> (8 - turn)) & 0xFF for turn in range(5)]
        box[power] = turned[0] ^ turned[1] ^ turned[2] ^ turned[3] ^ turned[4] ^ 0x63
        if power == 1:
            return box


BOX = substitution_box()


def doubled(byte):
    return byte << 1 & 0xFF ^ (0x1B if byte & 0x80 else 0)


def round_keys(key):
    words = [list(key[at : at + 4]) for at in range(0, 32, 4)]
    constant = 1
    for index in range(8, 60):
        word = words[-1]
        if index % 8 == 0:
            word = [BOX[byte] for byte in word[1:] + word[:1]]
            word[0] ^= constant
            constant = doubled(constant)
        elif index % 8 == 4:
            word = [BOX[byte] for byte in word]
        words.append([one ^ other for one, other in zip(words[index - 8], word)])
    return [sum(words[at : at + 4], []) for at in range(0, 60, 4)]


def mixed(column):
    total = column[0] ^ column[1] ^ column[2] ^ column[3]
    return [column[i] ^ total ^ doubled(column[i] ^ column[(i + 1) % 4]) for i in range(4)]


def block(keys, plain):
    state = [one ^ other for one, other in zip(plain, keys[0])]
    for key in keys[1:]:
        state = [BOX[state[(i + 4 * (i % 4)) % 16]] for i in range(16)]
        if key is not keys[-1]:
            state = sum((mixed(state[at : at + 4]) for at in range(0, 16, 4)), [])
        state = [one ^ other for one, other in zip(state, key)]
    return bytes(state)


# ---- Galois/counter mode ----


def product(one, other):
    result = 0
    for bit in range(127, -1, -1):
        if other >> bit & 1:
            result ^= one
        one = one >> 1 ^ (0xE1 << 120 if one & 1 else 0)
    return result


def sealed(key, nonce, plain, bound):
    keys = round_keys(key)
    multiplier = int.from_bytes(block(keys, bytes(16)), "big")
    cipher = b""
    for at in range(0, len(plain), 16):
        stream = block(keys, nonce + struct.pack(">I", 2 + at // 16))
        cipher += bytes(one ^ other for one, other in zip(plain[at : at + 16], stream))
    lengths = struct.pack(">QQ", len(bound) * 8, len(cipher) * 8)
    total = 0
    for text in (bound, cipher, lengths):
        for at in range(0, len(text), 16):
            total = product(total ^ int.from_bytes(text[at : at + 16].ljust(16, b"\0"), "big"), multiplier)
    mask = block(keys, nonce + struct.pack(">I", 1))
    return cipher + bytes(one ^ other for one, other in zip(total.to_bytes(16, "big"), mask))


assert sealed(bytes(32), bytes(12), b"", b"").hex() == "530f8afbc74536b9a963b4f1c4cb738b"
assert (
    sealed(bytes(32), bytes(12), bytes(16), b"").hex()
    == "cea7403d4d606b6e074ec5d3baf39d18d0d1c8a799996bf0265b98b5d48ab919"
)

# ---- The file ----


def enciphered(password, plain):
    header = b"QUAVCIPH" + bytes([1, 1, 1, LOG_N, R, P, 0, 0]) + SALT
    key = hashlib.scrypt(password.encode(), salt=SALT, n=1 << LOG_N, r=R, p=P, maxmem=1 << 30, dklen=32)
    chunks = [plain[at : at + CHUNK] for at in range(0, len(plain), CHUNK)] or [b""]
    result = header
    for number, chunk in enumerate(chunks):
        nonce = number.to_bytes(11, "big") + bytes([number == len(chunks) - 1])
        result += sealed(key, nonce, chunk, header)
    return result


def main():
    file = SystemFile(label="A file that is kept").variable("A")
    for number in range(CASES):
        file.case(number * 0.5)
    wrapper = struct.pack("<q12si12x", 28, b"ENCRYPTEDSAV", 21)
    pathlib.Path(sys.argv[1]).write_bytes(wrapper + enciphered(PASSWORD, file.bytes()))


if __name__ == "__main__":
    main()
