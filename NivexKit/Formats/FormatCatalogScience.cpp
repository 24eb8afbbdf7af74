#include "NivexKit/Formats/FormatCatalog.hpp"

namespace nivex {
namespace {

using enum FormatTrait;

// clang-format off
constexpr FormatRow threeDRows[] = {
    {.id = "obj", .name = "OBJ", .typeIdentifiers = "public.geometry-definition-format", .traits = text},
    {.id = "stl", .name = "STL", .longName = "Stéréolithographie"_fr,
     .typeIdentifiers = "public.standard-tesselated-geometry-format"},
    {.id = "fbx", .name = "FBX", .traits = animation | proprietary},
    {.id = "glb", .name = "GLB", .typeIdentifiers = "org.khronos.glb"},
    {.id = "gltf", .name = "glTF", .longName = "GL Transmission Format"_fr,
     .typeIdentifiers = "org.khronos.gltf", .traits = text},
    {.id = "usd", .name = "USD", .longName = "Universal Scene Description"_fr, .extensions = "usd usda usdc",
     .typeIdentifiers = "com.pixar.universal-scene-description"},
    {.id = "usdz", .name = "USDZ", .longName = "USD compressé (AR)"_fr,
     .typeIdentifiers = "com.pixar.universal-scene-description-mobile", .traits = container},
    {.id = "dae", .name = "DAE", .longName = "COLLADA"_fr,
     .typeIdentifiers = "org.khronos.collada.digital-asset-exchange", .traits = text},
    {.id = "ply", .name = "PLY", .longName = "Polygon File Format"_fr,
     .typeIdentifiers = "public.polygon-file-format"},
    {.id = "abc", .name = "ABC", .longName = "Alembic (cache 3D)"_fr,
     .typeIdentifiers = "public.alembic", .traits = animation},
    {.id = "3mf", .name = "3MF", .longName = "3D Manufacturing Format"_fr, .traits = container},
    {.id = "step", .name = "STEP", .longName = "STEP (ISO 10303)"_fr, .extensions = "step stp", .traits = text},
    {.id = "iges", .name = "IGES", .extensions = "iges igs", .traits = text},
    {.id = "dxf", .name = "DXF", .longName = "AutoCAD DXF"_fr, .typeIdentifiers = "com.autodesk.dxf",
     .traits = vector},
    {.id = "dwg", .name = "DWG", .longName = "AutoCAD DWG"_fr, .typeIdentifiers = "com.autodesk.dwg",
     .traits = vector | proprietary},
    {.id = "blend", .name = "BLEND",
     .typeIdentifiers = "org.blenderfoundation.blender.file", .traits = proprietary},
    {.id = "skp", .name = "SKP", .longName = "SketchUp"_fr, .traits = proprietary},
    {.id = "ifc", .name = "IFC", .longName = "Industry Foundation Classes"_fr, .traits = text},
};

constexpr FormatRow geoRows[] = {
    {.id = "gpx", .name = "GPX", .longName = "GPS Exchange Format"_fr,
     .typeIdentifiers = "com.topografix.gpx", .traits = text},
    {.id = "kml", .name = "KML", .longName = "Keyhole Markup Language"_fr,
     .typeIdentifiers = "com.google.earth.kml", .traits = text},
    {.id = "kmz", .name = "KMZ", .typeIdentifiers = "com.google.earth.kmz", .traits = container},
    {.id = "geojson", .name = "GeoJSON", .typeIdentifiers = "public.geojson", .traits = text},
    {.id = "shp", .name = "SHP"},
    {.id = "gpkg", .name = "GPKG", .longName = "GeoPackage"_fr},
    {.id = "geotiff", .name = "GeoTIFF", .longName = "TIFF géoréférencé"_fr, .extensions = "tif tiff",
     .traits = lossless | contentDetectedOnly},
    {.id = "fit", .name = "FIT", .longName = "Garmin FIT"_fr, .typeIdentifiers = "com.garmin.fit"},
    {.id = "tcx", .name = "TCX", .longName = "Training Center XML"_fr,
     .typeIdentifiers = "com.garmin.tcx", .traits = text},
};

constexpr FormatRow scientificRows[] = {
    {.id = "mat", .name = "MAT", .longName = "MATLAB"_fr},
    {.id = "hdf5", .name = "HDF5", .extensions = "h5 hdf5 he5", .traits = container},
    {.id = "netcdf", .name = "NetCDF", .extensions = "nc netcdf nc4"},
    {.id = "fits", .name = "FITS", .extensions = "fits fts fit", .traits = multiPage | highDynamicRange},
    {.id = "npy", .name = "NPY", .longName = "Tableau NumPy"_fr},
    {.id = "npz", .name = "NPZ", .longName = "Archive NumPy"_fr, .traits = container},
    {.id = "las", .name = "LAS"},
    {.id = "laz", .name = "LAZ"},
};

// clang-format on
static_assert(everyIdOnce(threeDRows) && everyIdOnce(geoRows) && everyIdOnce(scientificRows));

} // namespace

constinit const std::span<const FormatRow> FormatCatalog::threeD{threeDRows};
constinit const std::span<const FormatRow> FormatCatalog::geo{geoRows};
constinit const std::span<const FormatRow> FormatCatalog::scientific{scientificRows};

} // namespace nivex
