# SPDX-License-Identifier: GPL-3.0-or-later
"""Sound of files and of the sound card, at 48 kHz in one channel, and where one lies in the other."""

import numpy

from desk import output

PER_MS = 48


def of_file(file):
    raw = output("ffmpeg", "-v", "error", "-i", file, "-vn", "-ac", 1, "-ar", 48000, "-f", "f32le", "-")
    return numpy.frombuffer(raw, numpy.float32)


def of_record(file):
    raw = file.read_bytes()
    return numpy.frombuffer(raw[:len(raw) // 4 * 4], numpy.float32)


def find(part, whole):
    """Where a part lies in the whole, as a number of samples, and how much both are alike there: 1 is equal."""
    size = 1 << (len(part) + len(whole)).bit_length()
    product = numpy.fft.irfft(numpy.fft.rfft(whole, size) * numpy.conj(numpy.fft.rfft(part, size)), size)
    energy = numpy.concatenate(([0.0], numpy.cumsum(whole.astype(float) ** 2)))
    energy = energy[len(part):] - energy[:-len(part)]
    at = int((product[:len(energy)] / numpy.sqrt(energy + 1e-3)).argmax())
    return at, likeness(part, whole[at:at + len(part)])


def pieces(part, whole, piece_ms=200, quiet=0.02):
    """Where each piece of a part that is no silence lies in the whole, counted from where the part begins, and how much
    both are alike there."""
    size = piece_ms * PER_MS
    for start in range(0, len(part) - size + 1, size):
        piece = part[start:start + size]
        if numpy.abs(piece).max() > quiet:
            at, alike = find(piece, whole)
            yield at - start, alike


def without_gaps(record, shortest_ms=5):
    """What is left of a record without stretches of nothing at all, which a sound card plays when it gets nothing in
    time, as on a busy machine. Recorded silence is never that silent."""
    edges = numpy.flatnonzero(numpy.diff(numpy.concatenate(([False], record == 0, [False])).astype(int)))
    keeps = numpy.ones(len(record), bool)
    for begin, end in zip(edges[::2], edges[1::2]):
        keeps[begin:end] = end - begin < shortest_ms * PER_MS
    return record[keeps]


def likeness(one, other):
    one, other = one.astype(float), other.astype(float)
    return float(one @ other / max(numpy.sqrt((one @ one) * (other @ other)), 1e-9))
