#!/usr/bin/env python3
"""Compares what two builds of `mediakit` write and print, byte for byte.

  Testing/same_recordings.py OLD NEW              OLD and NEW are two mediakit programs
  Testing/same_recordings.py OLD NEW --skip text  without the outputs meant for people

Both programs record the samples and streams that ffmpeg makes here, then read the same files. Creation and
modification times in the files and wall times in the outputs are left out of the comparison. Prints a row for each
output and exits with 1 when one differs (2 when a program or ffmpeg is missing). A difference leaves the folder of the
run, whose path is printed.
"""

import argparse
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile

SAMPLES = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), 'Samples')

VIDEO = '-f lavfi -i testsrc2=size={size}:rate={rate} -frames:v {count} -pix_fmt yuv420p -threads 1 '
SOUND = '-f lavfi -i sine=frequency={tone}:sample_rate={rate}:duration={seconds} -threads 1 -c:a aac -ac {channels} '
X265 = '-c:v libx265 -preset ultrafast -x265-params log-level=none:pools=none:frame-threads=1:'

# Inputs that ffmpeg makes, in this order; those of MP4 use the streams before them.
INPUTS = [
    ('nob.h264', VIDEO.format(size='128x96', rate=30, count=90) + '-c:v libx264 -bf 0 -g 30 -f h264'),
    ('open.h264', VIDEO.format(size='130x98', rate='24000/1001', count=120) +
     '-c:v libx264 -bf 3 -x264-params open-gop=1:b-pyramid=strict:keyint=24 -f h264'),
    ('field.h264', VIDEO.format(size='96x96', rate=25, count=50) +
     '-c:v libx264 -flags +ilme+ildct -bf 2 -x264-params tff=1:keyint=20 -f h264'),
    ('b.h265', VIDEO.format(size='128x96', rate=50, count=100) + X265 + 'bframes=3:keyint=25 -f hevc'),
    ('nob.h265', VIDEO.format(size='64x64', rate=25, count=50) + X265 + 'bframes=0:keyint=20 -f hevc'),
    ('mono.aac', SOUND.format(tone=500, rate=44100, seconds=4, channels=1) + '-f adts'),
    ('six.aac', SOUND.format(tone=700, rate=48000, seconds=3, channels=6) + '-f adts'),
    ('plain.mp4', '-i {samples}/clip.h264 -i {samples}/clip.aac -i mono.aac -map 0 -map 1 -map 2 -c copy -f mp4'),
    ('front.mp4', '-i open.h264 -i six.aac -c copy -movflags +faststart -f mp4'),
    ('fragments.mp4', '-i open.h264 -i {samples}/clip.aac -c copy -bsf:a aac_adtstoasc -movflags +frag_keyframe+empty_moov -f mp4'),
    ('dash.mp4', '-i b.h265 -c copy -movflags +dash+default_base_moof -frag_duration 500000 -f mp4'),
    ('old.mp4', VIDEO.format(size='64x48', rate=25, count=50) + '-c:v mpeg4 -f mp4'),
    ('sound.mov', SOUND.format(tone=300, rate=48000, seconds=2, channels=2).replace('aac', 'pcm_s16le') + '-f mov'),
    ('mpeg.mp4', SOUND.format(tone=300, rate=48000, seconds=2, channels=2).replace('aac', 'mp2') + '-f mp4'),
    ('dolby.mp4', SOUND.format(tone=300, rate=48000, seconds=2, channels=2).replace('aac', 'ac3') + '-f mp4'),
]

RECORDINGS = [
    ('h264', '--video {samples}/clip.h264'),
    ('h264-no-b', '--video nob.h264'),
    ('h264-open', '--video open.h264'),
    ('h264-field', '--video field.h264'),
    ('h265', '--video {samples}/clip.h265'),
    ('h265-b', '--video b.h265'),
    ('h265-no-b', '--video nob.h265'),
    ('aac', '--audio {samples}/clip.aac'),
    ('h264-aac', '--video {samples}/clip.h264 --audio {samples}/clip.aac'),
    ('h265-three-aac', '--video b.h265 --audio {samples}/clip.aac --audio mono.aac --audio six.aac'),
    ('faststart', '--video open.h264 --audio six.aac --faststart'),
    ('rotated', '--video nob.h264 --rotate 90'),
    ('titled', '--video {samples}/clip.h264 --audio mono.aac --title "A title" --software "Some software"'),
    ('fps', '--video open.h264 --fps 30000/1001'),
    ('pipe', '--video - < {samples}/clip.h264'),
]

# Each on every MP4 file; {file} is read, {out} written.
READINGS = [
    ('info', 'info --json {file}', 'json'),
    ('info', 'info {file}', 'text'),
    ('info strict', 'info --strict --json {file}', 'json'),
    ('samples', 'samples --json --hash {file}', 'json'),
    ('samples', 'samples {file} --from 1', 'text'),
    ('boxes', 'boxes --json {file}', 'json'),
    ('boxes', 'boxes {file}', 'text'),
    ('extract', 'extract --force --json {file} -o {out}', 'json'),
    ('extract pin 1', 'extract --force -q --pin 1 {file} -o {out}', 'text'),
    ('extract raw', 'extract --force -q --raw {file} -o {out}', 'text'),
    ('remux', 'remux --force --json {file} -o {out}', 'json'),
    ('remux front', 'remux --force --faststart {file} -o {out}', 'text'),
]

CONTAINERS = {b'moov', b'trak', b'mdia'}
TIMED = {b'mvhd', b'tkhd', b'mdhd'}
# The threads of several tracks may take turns in more than one way, so that a program has more than one right output.
ATTEMPTS = 12
OUT = ['out-old', 'out-new']
CHANGING = [(re.compile(rb'out-(?:old|new)'), b'out'), (re.compile(rb'"wall_time": ?[0-9.e+-]+'), b'"wall_time":0'), (re.compile(rb'took [^\n]*'), b'took')]


def boxes(data, start, end):
    """Type, start of the payload and end of each box; ends at what is no box."""
    while start + 8 <= end:
        size, kind = struct.unpack_from('>I4s', data, start)
        header = 8
        if size == 1 and start + 16 <= end:
            size, header = struct.unpack_from('>Q', data, start + 8)[0], 16
        if size == 0:
            size = end - start
        if size < header or start + size > end:
            return
        yield kind, start + header, start + size
        start += size


def mask_times(data, start=0, end=None):
    """Sets creation and modification times to 0 (ISO/IEC 14496-12: 64 bits each in version 1, else 32)."""
    for kind, payload, after in boxes(data, start, len(data) if end is None else end):
        if kind in CONTAINERS:
            mask_times(data, payload, after)
        elif kind in TIMED and after - payload >= 20:
            length = 16 if data[payload] == 1 else 8
            data[payload + 4:payload + 4 + length] = bytes(length)


def content(path):
    if not os.path.isfile(path):
        return None
    with open(path, 'rb') as stream:
        data = bytearray(stream.read())
    if data[4:8] == b'ftyp':
        mask_times(data)
    return bytes(data)


class Comparison:
    def __init__(self, programs, skip):
        self.programs = programs
        self.skip = skip
        self.differences = 0
        print(f'{"case":36} {"output":8} {"bytes":>10}')

    def run(self, folder, arguments, name, kind, file):
        """Runs both programs in `folder`, each with an output folder of its own, until they agree once."""
        seen = [[], []]
        for _ in range(ATTEMPTS):
            for side, results in enumerate(seen):
                results.append(self.run_one(folder, side, arguments, file))
            same = [result for result in seen[0] if result in seen[1]]
            if same:
                break
        old, new = (same[0], same[0]) if same else (seen[0][0], seen[1][0])
        self.row(name, kind, old[0], new[0])
        if old[1] is not None or new[1] is not None:
            self.row(name, 'file', old[1], new[1])

    def run_one(self, folder, side, arguments, file):
        """What the program prints, and the file that it writes."""
        out = os.path.join(OUT[side], file)
        command = f'"{self.programs[side]}" {arguments.format(samples=SAMPLES, out=out)}'
        done = subprocess.run(command, shell=True, cwd=folder, capture_output=True, stdin=subprocess.DEVNULL,
                              timeout=120)
        text = b'\n'.join([b'status %d' % done.returncode, done.stdout, done.stderr])
        for pattern, replacement in CHANGING:
            text = pattern.sub(replacement, text)
        return text, content(os.path.join(folder, out))

    def row(self, name, kind, old, new):
        if kind in self.skip:
            return
        result = ''
        if old != new:
            self.differences += 1
            result = '  DIFFERS ' + difference(old, new)
        print(f'{name:36} {kind:8} {len(old or b""):10}{result}', flush=True)


def difference(old, new):
    if old is None or new is None:
        return '(missing in the ' + ('old)' if old is None else 'new)')
    at = next((i for i, (a, b) in enumerate(zip(old, new)) if a != b), min(len(old), len(new)))
    return f'at {at}: {old[max(0, at - 8):at + 24]!r} / {new[max(0, at - 8):at + 24]!r}'


def make_inputs(folder):
    for name, arguments in INPUTS:
        command = f'ffmpeg -hide_banner -loglevel error -y {arguments.format(samples=SAMPLES)} {name}'
        if subprocess.run(command, shell=True, cwd=folder, stdin=subprocess.DEVNULL).returncode != 0:
            sys.exit(2)
    with open(os.path.join(folder, 'plain.mp4'), 'rb') as stream:
        data = stream.read()
    for name, part in (('cut.mp4', data[:len(data) // 2]), ('no-mp4.mp4', b'no boxes here\n' * 9)):
        with open(os.path.join(folder, name), 'wb') as stream:
            stream.write(part)


def compare(folder, comparison):
    for side in OUT:
        os.mkdir(os.path.join(folder, side))
    for name, arguments in RECORDINGS:
        comparison.run(folder, f'record --force --json -o {{out}} {arguments}', f'record {name}', 'json', f'{name}.mp4')
    files = [name for name, _ in INPUTS if name.endswith(('.mp4', '.mov'))] + ['cut.mp4', 'no-mp4.mp4']
    for name in ('faststart', 'h265-three-aac'):
        files.append(f'recorded-{name}.mp4')
        shutil.copyfile(os.path.join(folder, OUT[0], f'{name}.mp4'), os.path.join(folder, files[-1]))
    for file in files:
        for number, (name, arguments, kind) in enumerate(READINGS):
            comparison.run(folder, arguments.replace('{file}', file), f'{name} {file}', kind, f'{number}-{file}')


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('old')
    parser.add_argument('new')
    parser.add_argument('--skip', action='append', default=[], choices=['file', 'json', 'text'],
                        help='leave these outputs out; may be given several times')
    options = parser.parse_args()
    programs = [os.path.abspath(program) for program in (options.old, options.new)]
    for program in programs + ['ffmpeg']:
        if shutil.which(program) is None:
            print(f'same_recordings: no program {program}', file=sys.stderr)
            sys.exit(2)
    folder = tempfile.mkdtemp(prefix='same-recordings-')
    make_inputs(folder)
    comparison = Comparison(programs, options.skip)
    compare(folder, comparison)
    if comparison.differences:
        print(f'\n{comparison.differences} outputs differ; the files are in {folder}')
        sys.exit(1)
    shutil.rmtree(folder)
    print('\nno difference')


if __name__ == '__main__':
    main()
