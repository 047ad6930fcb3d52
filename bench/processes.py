"""What the scripts of this folder share: running programs and counting what they cost."""

import os
import resource
import subprocess


def card(number):
    return ("BEGIN:VCARD\r\nVERSION:2.1\r\nN:Family%d;Given%d\r\nTEL;CELL:+1 555 %07d\r\nEMAIL;INTERNET:p%d@example.com\r\n"
            "END:VCARD\r\n" % (number, number, number, number))


def write_cards(path, numbers):
    with open(path, "w", newline="") as file:
        file.writelines(card(number) for number in numbers)


def cpu_of(arguments, device=None, stdin=None):
    """Seconds of the processor of one run; nothing else may be started meanwhile. Fails when the program does."""
    environment = dict(os.environ, OSIF_DEVICE=device) if device else None
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(arguments, env=environment, stdin=stdin, stdout=subprocess.DEVNULL, check=True)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
