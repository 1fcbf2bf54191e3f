# SPDX-License-Identifier: GPL-3.0-or-later
"""Lecture-like sentences that do not repeat themselves for hours, and a voice that speaks them."""

import array
import subprocess

RATE = 22050    # what the synthesizer gives: mono, 16 bit

_TOPICS = ("the river bed", "a warm ocean current", "the upper soil", "a mountain glacier", "the growing season",
           "an open harbour", "the city's water supply", "a narrow valley", "the coastal wind", "an early harvest",
           "the daily tide", "a dry summer", "the old trade route", "the forest edge", "a sandy island",
           "the morning fog", "a slow landslide", "the winter snow", "the salt marsh", "a deep well")
_PROPERTIES = ("the average depth", "its temperature", "the yearly rainfall", "the amount of salt", "its slope",
               "the number of settlements", "the speed of the water", "the length of the day", "its colour",
               "the price of transport", "the size of the grains", "the height above the sea", "the air pressure")
_VERBS = ("depends on", "limits", "is shaped by", "follows", "changes with", "explains", "is measured against",
          "slowly wears away", "protects", "competes with", "is older than", "almost never reaches")
_OPENERS = ("Let us look at this more closely.", "Please keep this picture in mind.", "Now comes the interesting part.",
            "You will meet this again in the exercises.", "I will come back to this in a moment.",
            "This is where most people go wrong.", "Nobody expected that at the time.", "Here is a short example.")
_LINKS = ("because", "although", "as soon as", "unless", "even when", "which means that", "just as", "long before")
_PLACES = ("in the north", "near the equator", "along the coast", "in the second survey", "on the left of this slide",
           "in most years", "after the flood", "between the two lakes", "at the end of the century")
_TITLES = ("Measuring {}", "How {} changes", "{} in numbers", "A closer look at {}", "What shapes {}",
           "Three questions about {}", "{}: a short history", "Comparing {} and {}")


def sentence(rng):
    topic, other = rng.sample(_TOPICS, 2)
    first, second = rng.sample(_PROPERTIES, 2)
    number = rng.randint(2, 990)
    kind = rng.randrange(8)
    if kind == 0:
        return rng.choice(_OPENERS)
    if kind == 1:
        return f"{_capital(rng.choice(_PLACES))}, {topic} {rng.choice(_VERBS)} {other}."
    if kind == 2:
        return f"We find that {first} of {topic} is about {number} {rng.choice(('units', 'metres', 'percent of it'))}."
    if kind == 3:
        return f"Why is it that {topic} {rng.choice(_VERBS)} {other}?"
    if kind == 4:
        return f"In {rng.randint(1700, 2020)}, {first} {rng.choice(_VERBS)} {second} {rng.choice(_PLACES)}."
    return (f"{_capital(topic)} {rng.choice(_VERBS)} {other}, {rng.choice(_LINKS)} {first} "
            f"{rng.choice(_VERBS)} {second}.")


def paragraph(rng, sentences):
    return " ".join(sentence(rng) for _ in range(sentences))


def title(rng):
    names = [name.removeprefix("the ").removeprefix("a ").removeprefix("an ") for name in rng.sample(_TOPICS, 2)]
    return _capital(rng.choice(_TITLES).format(*names))


def bullet(rng):
    kind = rng.randrange(3)
    if kind == 0:
        return f"{_capital(rng.choice(_PROPERTIES))} {rng.choice(_VERBS)} {rng.choice(_TOPICS)}"
    if kind == 1:
        return f"{_capital(rng.choice(_TOPICS))} {rng.choice(_PLACES)}"
    return f"{_capital(rng.choice(_PROPERTIES))}: {rng.randint(2, 990)} {rng.choice(('m', '%', 'km', 'mm'))}"


def speak(words, voice="en-us", speed=165, pitch=45):
    """The spoken words as 16-bit samples at RATE."""
    told = subprocess.run(["espeak-ng", "-v", voice, "-s", str(speed), "-p", str(pitch), "--stdout"],
                          input=words.encode(), check=True, capture_output=True).stdout
    # The length in the header of a piped file is a guess, so the samples are taken as they come.
    return array.array("h", told[44:44 + (len(told) - 44) // 2 * 2])


def silence(samples):
    return array.array("h", bytes(2 * samples))


def _capital(words):
    return words[:1].upper() + words[1:]
