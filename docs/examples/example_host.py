# SPDX-License-Identifier: MIT
"""The smallest useful host, in Python: decodes an AIFF file to raw little-endian PCM.

    python3 example_host.py path/to/AIFF.so song.aiff > song.pcm
"""
import ctypes
import sys
from ctypes import c_int32, c_int64, c_uint16, c_uint32, c_uint64, c_void_p, c_wchar_p


def record(name, **fields):
    """A record of qvcodec.h: its fields in their order, packed."""
    return type(name, (ctypes.Structure,), {"_pack_": 1, "_fields_": list(fields.items())})


WaveFormat = record(
    "STQvWaveFormat", nFormatTag=c_uint16, nChannels=c_uint16, nSamplesPerSec=c_uint32,
    nAvgBytesPerSec=c_uint32, nBlockAlign=c_uint16, nBitsPerSample=c_uint16,
    nExtraSize=c_uint16, nValidBits=c_uint16, nChannelMask=c_uint32,
    SubFormat=ctypes.c_uint8 * 16)
AudioInfo = record("STQvAudioInfo", WaveFormat=WaveFormat, nBitRate=c_uint32, nLengthMS=c_int64,
                   nLengthBytes=c_int64)
OpenDecoder = record(
    "STQvOpenDecoder", pFileName=c_wchar_p, nFlags=c_uint32, AudioInfo=AudioInfo,
    nReserved=c_uint64, pTagData=c_void_p, nTagDataSize=c_uint32, pPropertiesData=c_void_p,
    nPropertiesDataSize=c_uint32)
AudioBlock = record(
    "STQvAudioBlock", pData=c_void_p, nDataSize=c_uint32, WaveFormat=WaveFormat,
    nBitRate=c_uint32, nDurationMS=c_int64, nReserved=c_uint64 * 2, nPositionMS=c_int64,
    nLastBlock=c_int32)
StdReport = record("STNStdReport", hError=c_void_p, hInformation=c_void_p, hDebug=c_void_p)
QV_OPEN_PREPARE_DECODE = 1


def load(path):
    plugin = ctypes.CDLL(path)
    plugin.Create.restype = c_void_p
    plugin.Destroy.argtypes = [c_void_p]
    for function in plugin.Open, plugin.DecodeBlock, plugin.Close:
        function.argtypes = [c_void_p, c_void_p]
    return plugin


def decode(plugin, name, out):
    decoder = plugin.Create(ctypes.byref(StdReport(hError=2)))  # errors go to standard error
    opened = OpenDecoder(pFileName=name, nFlags=QV_OPEN_PREPARE_DECODE)
    ok = plugin.Open(decoder, ctypes.byref(opened))
    if ok:
        wave = opened.AudioInfo.WaveFormat
        print(f"{wave.nSamplesPerSec} Hz, {wave.nChannels} channels, {wave.nBitsPerSample} bits,",
              f"{opened.AudioInfo.nLengthMS} ms", file=sys.stderr)
    last = False
    while ok and not last:
        block = AudioBlock()  # the last block may carry no audio
        ok = plugin.DecodeBlock(decoder, ctypes.byref(block))
        out.write(ctypes.string_at(block.pData, block.nDataSize))
        last = block.nLastBlock
    plugin.Close(decoder, bytes(60))
    plugin.Destroy(decoder)
    return ok


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(f"usage: {sys.argv[0]} AIFF.so FILE")
    try:
        library = load(sys.argv[1])
    except (OSError, AttributeError):
        sys.exit(f"{sys.argv[1]}: no decoder plug-in")
    sys.exit(0 if decode(library, sys.argv[2], sys.stdout.buffer) else 1)
