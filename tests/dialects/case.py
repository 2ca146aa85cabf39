# SPDX-License-Identifier: MIT
"""A timeline after one dialect."""

from dataclasses import dataclass, field


@dataclass
class Case:
    name: str
    document: dict
    options: tuple = ()  # of sonrel mix
    reading: dict = field(default_factory=dict)  # arguments of the reference reader
    extension: str = ".otio"
    listed: tuple = ()  # words that an entry of notTakenOver must have, each
