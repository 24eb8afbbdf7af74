"""Colours computed by the colour engine Little CMS, called directly: what the pixels of a file with a profile look like."""
import ctypes
import functools
import pathlib
import struct

PROFILES = pathlib.Path("/usr/share/color/icc")

_lcms = ctypes.CDLL("liblcms2.so.2")
for _function in ("cmsOpenProfileFromMem", "cmsCreate_sRGBProfile", "cmsCreateLab4Profile", "cmsCreateTransform",
                  "cmsCreateProfilePlaceholder", "cmsPipelineAlloc", "cmsStageAllocToneCurves",
                  "cmsStageAllocCLut16bit", "cmsBuildParametricToneCurve", "cmsCreateGrayProfile"):
    getattr(_lcms, _function).restype = ctypes.c_void_p

PERCEPTUAL, RELATIVE, AS_INPUT = 0, 1, 0
BLACK_POINT_COMPENSATION, NO_CACHE = 0x2000, 0x40
GREY, RGB, CMYK, LAB = "grey", "rgb", "cmyk", "lab"
_SPACES = {GREY: (3, 1), RGB: (4, 3), CMYK: (6, 4), LAB: (10, 3)}  # PT_*, channels


def _doubles(space):
    """TYPE_*_DBL."""
    number, channels = _SPACES[space]
    return 1 << 22 | number << 16 | channels << 3


def _pointer(value):
    return ctypes.c_void_p(value)


@functools.lru_cache(None)
def _to_srgb(space, profile):
    if space == LAB:
        source = _lcms.cmsCreateLab4Profile(None)
    elif profile:
        source = _lcms.cmsOpenProfileFromMem(profile, len(profile))
    else:
        source = _lcms.cmsCreate_sRGBProfile()
    intent = RELATIVE if _lcms.cmsIsIntentSupported(_pointer(source), RELATIVE, AS_INPUT) else PERCEPTUAL
    return _lcms.cmsCreateTransform(_pointer(source), _doubles(space), _pointer(_lcms.cmsCreate_sRGBProfile()),
                                    _doubles(RGB), intent, BLACK_POINT_COMPENSATION | NO_CACHE)


def in_srgb(space, components, profile=b""):
    """The colour as red, green and blue from 0 to 1. Components are from 0 to 1, of Lab as CIE counts them; without a
    profile grey and RGB are sRGB."""
    if space == GREY and not profile:
        space, components = RGB, components * 3
    scale = 100 if space == CMYK else 1  # inks are counted in percent
    given = (ctypes.c_double * len(components))(*[value * scale for value in components])
    result = (ctypes.c_double * 3)()
    _lcms.cmsDoTransform(_pointer(_to_srgb(space, profile)), given, result, 1)
    return tuple(min(1.0, max(0.0, value)) for value in result)


def _bytes(profile):
    size = ctypes.c_uint32()
    _lcms.cmsSaveProfileToMem(profile, None, ctypes.byref(size))
    data = ctypes.create_string_buffer(size.value)
    _lcms.cmsSaveProfileToMem(profile, data, ctypes.byref(size))
    return data.raw


def usual_grey():
    """A profile for grey with the curve of sRGB."""
    white = (ctypes.c_double * 3)(0.3127, 0.3290, 1)
    curve = _lcms.cmsBuildParametricToneCurve(
        None, 4, (ctypes.c_double * 5)(2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045))
    return _bytes(_pointer(_lcms.cmsCreateGrayProfile(white, _pointer(curve))))


@functools.lru_cache(None)
def strange_inks():
    """A profile for four inks unlike any printer's: each takes away its light, and cyan takes away the green as well."""
    nodes = 5
    steps = [i / (nodes - 1) for i in range(nodes)]
    table = []
    for c in steps:
        for m in steps:
            for y in steps:
                for k in steps:
                    light = (1 - 0.8 * c) * (1 - 0.7 * m) * (1 - 0.1 * y) * (1 - k)
                    table += [light, 0.5 - 0.2 * c + 0.3 * m, 0.5 - 0.1 * c + 0.3 * y]
    profile = _pointer(_lcms.cmsCreateProfilePlaceholder(None))
    _lcms.cmsSetProfileVersion(profile, ctypes.c_double(4.3))
    for call, signature in ((_lcms.cmsSetDeviceClass, b"prtr"), (_lcms.cmsSetColorSpace, b"CMYK"),
                            (_lcms.cmsSetPCS, b"Lab ")):
        call(profile, struct.unpack(">I", signature)[0])
    pipeline = _pointer(_lcms.cmsPipelineAlloc(None, 4, 3))
    for stage in (_lcms.cmsStageAllocToneCurves(None, 4, None),
                  _lcms.cmsStageAllocCLut16bit(None, nodes, 4, 3, (ctypes.c_uint16 * len(table))(*[round(65535 * value) for value in table])),
                  _lcms.cmsStageAllocToneCurves(None, 3, None)):
        _lcms.cmsPipelineInsertStage(pipeline, 1, _pointer(stage))
    if not _lcms.cmsWriteTag(profile, struct.unpack(">I", b"A2B0")[0], pipeline):
        raise AssertionError("Little CMS refuses the table")
    return _bytes(profile)
