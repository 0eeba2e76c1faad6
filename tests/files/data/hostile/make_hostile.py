#!/usr/bin/env python3
"""Writes the hostile archives of this folder.

Each archive is a small, valid archive made by Python's zipfile and then
damaged in one way, byte by byte, so that exactly one thing is wrong with
it. The extraction tests (zip_hostile_test) expect every one of them to
fail, to write nothing outside the target folder and to leave no file
behind. Run it from anywhere; it rewrites the archives next to itself:

    python3 tests/files/data/hostile/make_hostile.py
"""

import io
import os
import struct
import zipfile
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
TEXT = b"".join(b"line %05d of the entry that is damaged\n" % i for i in range(400))
FIXED_TIME = (2020, 1, 2, 3, 4, 6)


def archive(entries, method=zipfile.ZIP_DEFLATED):
    """A valid archive holding `entries` ((name, bytes) pairs)."""
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w", method) as z:
        for name, data in entries:
            info = zipfile.ZipInfo(name, FIXED_TIME)
            info.compress_type = method
            info.external_attr = 0o644 << 16
            z.writestr(info, data)
    return bytearray(out.getvalue())


def end_record(data):
    at = data.rfind(b"PK\x05\x06")
    assert at >= 0
    return at


def records(data):
    """Offsets of the directory records, in order."""
    end = end_record(data)
    count, size, start = struct.unpack_from("<HII", data, end + 10)
    found, at = [], start
    for _ in range(count):
        assert data[at:at + 4] == b"PK\x01\x02"
        found.append(at)
        n, e, c = struct.unpack_from("<HHH", data, at + 28)
        at += 46 + n + e + c
    return found


def local_header(data, record):
    return struct.unpack_from("<I", data, record + 42)[0]


def data_start(data, header):
    n, e = struct.unpack_from("<HH", data, header + 26)
    return header + 30 + n + e


def set_field(data, fmt, value, *offsets):
    for offset in offsets:
        struct.pack_into(fmt, data, offset, value)


def replace_data(data, new_bytes, record_index=0):
    """Puts `new_bytes` where the entry's compressed data was, keeping its
    CRC and uncompressed size, and moves everything behind it."""
    record = records(data)[record_index]
    header = local_header(data, record)
    start = data_start(data, header)
    old_size = struct.unpack_from("<I", data, record + 20)[0]
    shift = len(new_bytes) - old_size
    result = data[:start] + bytearray(new_bytes) + data[start + old_size:]
    set_field(result, "<I", len(new_bytes), header + 18)
    # Every later offset moves by `shift`.
    end = end_record(result)
    count, size, cd = struct.unpack_from("<HII", result, end + 10)
    set_field(result, "<I", cd + shift, end + 16)
    for r in records(result):
        offset = local_header(result, r)
        if offset > header:
            set_field(result, "<I", offset + shift, r + 42)
    set_field(result, "<I", len(new_bytes), records(result)[record_index] + 20)
    return result


def raw_deflate(data):
    packer = zlib.compressobj(6, zlib.DEFLATED, -15)
    return packer.compress(data) + packer.flush()


def build():
    made = {}

    # The deflate stream is cut in half: it ends before the entry does.
    good = archive([("data.txt", TEXT)])
    start = data_start(good, local_header(good, records(good)[0]))
    size = struct.unpack_from("<I", good, records(good)[0] + 20)[0]
    made["truncated_stream.zip"] = replace_data(good, good[start:start + size // 2])

    # One flipped byte inside the deflate stream.
    flipped = archive([("data.txt", TEXT)])
    start = data_start(flipped, local_header(flipped, records(flipped)[0]))
    flipped[start + 40] ^= 0x55
    made["flipped_byte.zip"] = flipped

    # Another valid stream in its place, of a shorter text: it ends early.
    made["swapped_stream.zip"] = replace_data(archive([("data.txt", TEXT)]),
                                              raw_deflate(TEXT[:5000]))

    # Another valid stream of the same length but other bytes: only the
    # CRC-32 can tell.
    other = TEXT.replace(b"line", b"LINE")
    made["swapped_same_size.zip"] = replace_data(archive([("data.txt", TEXT)]),
                                                 raw_deflate(other))

    # A stored entry whose CRC-32 (in both headers) is wrong.
    crc = archive([("data.txt", TEXT)], zipfile.ZIP_STORED)
    record = records(crc)[0]
    set_field(crc, "<I", zlib.crc32(TEXT) ^ 1, record + 16, local_header(crc, record) + 14)
    made["bad_crc.zip"] = crc

    # The declared size is smaller than what the stream holds.
    small = archive([("data.txt", TEXT)])
    record = records(small)[0]
    set_field(small, "<I", len(TEXT) - 100, record + 24, local_header(small, record) + 22)
    made["size_too_small.zip"] = small

    # The declared size is larger than what the stream holds.
    large = archive([("data.txt", TEXT)])
    record = records(large)[0]
    set_field(large, "<I", len(TEXT) + 100, record + 24, local_header(large, record) + 22)
    made["size_too_large.zip"] = large

    # A stored entry whose compressed and uncompressed sizes differ.
    stored = archive([("data.txt", TEXT)], zipfile.ZIP_STORED)
    record = records(stored)[0]
    set_field(stored, "<I", len(TEXT) - 10, record + 24, local_header(stored, record) + 22)
    made["stored_sizes_differ.zip"] = stored

    # Two directory records that point at the same local header: the
    # "many entries share one kernel" bomb in its plainest form.
    shared = archive([("a.txt", TEXT), ("b.txt", TEXT)])
    first, second = records(shared)
    set_field(shared, "<I", local_header(shared, first), second + 42)
    made["overlapping_same_header.zip"] = shared

    # Overlap without sharing a header: the first entry's data run on
    # over the second entry's header.
    kernel = archive([("a.txt", TEXT), ("b.txt", TEXT)], zipfile.ZIP_STORED)
    first, second = records(kernel)
    longer = local_header(kernel, second) - data_start(kernel, local_header(kernel, first)) + 100
    set_field(kernel, "<I", longer, first + 20, first + 24, local_header(kernel, first) + 18,
              local_header(kernel, first) + 22)
    made["overlapping_data.zip"] = kernel

    # The end record announces three entries; the directory holds two.
    high = archive([("a.txt", b"alpha"), ("b.txt", b"bravo")])
    end = end_record(high)
    set_field(high, "<H", 3, end + 8, end + 10)
    made["directory_count_high.zip"] = high

    # The end record announces one entry; the directory holds two.
    low = archive([("a.txt", b"alpha"), ("b.txt", b"bravo")])
    end = end_record(low)
    set_field(low, "<H", 1, end + 8, end + 10)
    made["directory_count_low.zip"] = low

    # A valid end record whose directory is noise.
    noise = bytearray((i * 73 + 11) & 0xFF for i in range(600))
    noise[100:104] = b"XXXX"
    noise += struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, 2, 2, 120, 400, 0)
    made["garbage_directory.zip"] = noise

    # The directory's offset lies beyond the end of the archive.
    outside = archive([("a.txt", b"alpha")])
    end = end_record(outside)
    set_field(outside, "<I", 0x7FFFFFF0, end + 16)
    made["directory_outside.zip"] = outside

    # An entry whose local header offset points into the directory.
    beyond = archive([("a.txt", b"alpha")])
    record = records(beyond)[0]
    set_field(beyond, "<I", record - 2, record + 42)
    made["entry_outside.zip"] = beyond

    # bzip2 (method 12) and LZMA (method 14), as Python writes them.
    made["bzip2.zip"] = archive([("data.txt", TEXT)], zipfile.ZIP_BZIP2)
    made["lzma.zip"] = archive([("data.txt", TEXT)], zipfile.ZIP_LZMA)

    # Method 9 (deflate64) in both headers of a stored entry.
    d64 = archive([("data.txt", TEXT)], zipfile.ZIP_STORED)
    record = records(d64)[0]
    set_field(d64, "<H", 9, record + 10, local_header(d64, record) + 8)
    made["deflate64.zip"] = d64

    # The encryption flag set in both headers.
    locked = archive([("data.txt", TEXT)], zipfile.ZIP_STORED)
    record = records(locked)[0]
    set_field(locked, "<H", 1, record + 8, local_header(locked, record) + 6)
    made["encrypted.zip"] = locked

    # A good entry under "link/": the tests put a link called "link" in the
    # target folder first, pointing out of it.
    made["through_link.zip"] = archive([("link/evil.txt", b"must not leave the folder")])

    return made


def main():
    for name, data in sorted(build().items()):
        with open(os.path.join(HERE, name), "wb") as out:
            out.write(data)
        print("%-32s %6d bytes" % (name, len(data)))


if __name__ == "__main__":
    main()
