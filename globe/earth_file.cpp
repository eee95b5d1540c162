#include "globe/earth_file.h"

#include <cpl_error.h>
#include <cpl_minixml.h>
#include <cpl_vsi.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <osg/Notify>

#include "globe/globe_config.h"
#include "globe/raster_source.h"

namespace globe {
namespace {

constexpr int kMaxDepth = 32;
constexpr vsi_l_offset kMaxFileBytes = 4 << 20;

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// Attributes and elements alike become children; keys in lower case.
Config configOf(const CPLXMLNode& element, int depth) {
    Config config(lower(element.pszValue));
    for (const CPLXMLNode* part = element.psChild; part != nullptr; part = part->psNext) {
        if (part->eType == CXT_Text) {
            config.setValue(trimmed(config.value() + part->pszValue));
        } else if (part->eType == CXT_Attribute && part->psChild != nullptr) {
            config.add(Config(lower(part->pszValue), trimmed(part->psChild->pszValue)));
        } else if (part->eType == CXT_Element && depth < kMaxDepth) {
            config.add(configOf(*part, depth + 1));
        }
    }
    return config;
}

bool isAbsolute(const std::string& url) {
    return url.empty() || url[0] == '/' || url[0] == '<' || url.find(':') != std::string::npos;
}

std::string resolved(const std::string& url, const std::string& folder) {
    std::string path = url;
    if (path.rfind("file://", 0) == 0) {
        path = path.substr(7);
    }
    return isAbsolute(path) || folder.empty() ? path : folder + "/" + path;
}

class Reader {
public:
    Reader(EarthModel& model, std::string folder) : m_model(model), m_folder(std::move(folder)) {}

    void readMap(const Config& map) {
        m_model.name = map.value("name");
        const std::string type = lower(map.value("type"));
        if (!type.empty() && type != "geocentric" && type != "round" && type != "globe") {
            problem("the map's type " + type + " is shown as a globe");
        }
        for (const Config& part : map.children()) {
            if (!readLayer(part)) {
                readRest(part);
            }
        }
    }

private:
    void problem(const std::string& line) {
        m_model.problems.push_back(line);
        OSG_WARN << "globe: " << line << std::endl;
    }

    static void unknown(const std::string& what) {
        OSG_WARN << "globe: the earth file's " << what << " is not known and left out" << std::endl;
    }

    bool readLayer(const Config& part) {
        static const std::map<std::string, std::pair<LayerKind, const char*>> kinds = {
            {"image", {LayerKind::kImage, ""}},
            {"elevation", {LayerKind::kElevation, ""}},
            {"heightfield", {LayerKind::kElevation, ""}},
            {"gdalimage", {LayerKind::kImage, "gdal"}},
            {"gdalelevation", {LayerKind::kElevation, "gdal"}},
            {"tmsimage", {LayerKind::kImage, "tms"}},
            {"tmselevation", {LayerKind::kElevation, "tms"}},
            {"xyzimage", {LayerKind::kImage, "xyz"}},
            {"wmsimage", {LayerKind::kImage, "wms"}},
            {"mbtilesimage", {LayerKind::kImage, "mbtiles"}},
            {"mbtileselevation", {LayerKind::kElevation, "mbtiles"}},
            {"graticule", {LayerKind::kGraticule, "graticule"}}};
        const auto kind = kinds.find(part.key());
        if (kind == kinds.end()) {
            return false;
        }
        LayerModel layer;
        layer.kind = kind->second.first;
        layer.driver = kind->second.second;
        if (layer.driver.empty()) {
            layer.driver = part.hasValue("driver") ? lower(part.value("driver")) : "gdal";
        }
        if (layer.driver == "graticule") {
            layer.kind = LayerKind::kGraticule;
        }
        layer.name = part.value("name");
        if (layer.name.empty()) {
            layer.name = part.key() + " " + std::to_string(m_model.layers.size() + 1);
        }
        readValues(part, layer);
        bool enabled = true;
        part.get("enabled", enabled);
        if (enabled && (layer.kind == LayerKind::kGraticule || hasSource(part, layer))) {
            m_model.layers.push_back(layer);
        }
        return true;
    }

    bool hasSource(const Config& part, LayerModel& layer) {
        layer.url = resolved(part.hasValue("url") ? part.value("url") : part.value("connection"), m_folder);
        if (layer.url.empty()) {
            problem("layer " + layer.name + ": has no url");
            return false;
        }
        VSIStatBufL status;
        const bool file = layer.url[0] != '<' && layer.url.find("{z}") == std::string::npos &&
                          layer.url.find(':') == std::string::npos && !isRemote(layer.url, layer.driver);
        if (file && VSIStatL(layer.url.c_str(), &status) != 0) {
            problem("layer " + layer.name + ": " + layer.url + " is missing");
            return false;
        }
        return true;
    }

    void readValues(const Config& part, LayerModel& layer) {
        number(part, layer, "opacity", [&](double value) { layer.opacity = std::clamp(value, 0.0, 1.0); });
        number(part, layer, "min_level", [&](double value) { layer.min_level = level(value); });
        number(part, layer, "max_level", [&](double value) { layer.max_level = level(value); });
        number(part, layer, "max_data_level", [&](double value) { layer.max_level = level(value); });
        number(part, layer, "min_range", [&](double value) { layer.min_range_m = value; });
        number(part, layer, "max_range", [&](double value) { layer.max_range_m = value; });
        number(part, layer, "max_visible_range", [&](double value) { layer.max_range_m = value; });
        part.get("visible", layer.visible);
        static const char* const known[] = {"name",
                                            "driver",
                                            "url",
                                            "connection",
                                            "opacity",
                                            "visible",
                                            "enabled",
                                            "min_level",
                                            "max_level",
                                            "max_data_level",
                                            "min_range",
                                            "max_range",
                                            "max_visible_range",
                                            "tile_size",
                                            "cache_policy",
                                            "attribution",
                                            "format",
                                            "profile",
                                            "vertical_datum",
                                            "cacheid",
                                            "interpolation"};
        for (const Config& value : part.children()) {
            if (std::find(std::begin(known), std::end(known), value.key()) == std::end(known)) {
                unknown("element " + value.key() + " of layer " + layer.name);
            }
        }
    }

    void number(const Config& part, const LayerModel& layer, const char* key,
                const std::function<void(double)>& set) {
        double value = 0.0;
        if (part.get(key, value)) {
            set(value);
        } else if (part.hasChild(key)) {
            problem("layer " + layer.name + ": " + key + " is no number: " + part.value(key));
        }
    }

    static int level(double value) { return static_cast<int>(std::clamp(value, 0.0, 99.0)); }

    void readRest(const Config& part) {
        static const char* const attributes[] = {"name", "type", "version"};
        if (part.key() == "options" || part.key() == "profile") {
            // Ours to choose: tiles are geographic, and their loader knows what the view needs.
            for (const Config& option : part.children()) {
                if (option.key() != "terrain" && option.key() != "elevation_tile_size" &&
                    option.key() != "profile") {
                    unknown("option " + option.key());
                }
            }
        } else if (std::find(std::begin(attributes), std::end(attributes), part.key()) ==
                   std::end(attributes)) {
            unknown("element " + part.key());
        }
    }

    EarthModel& m_model;
    std::string m_folder;
};

}  // namespace

EarthModel parseEarth(const std::string& xml, const std::string& folder) {
    EarthModel model;
    CPLPushErrorHandler(CPLQuietErrorHandler);
    CPLErrorReset();
    CPLXMLNode* document = CPLParseXMLString(xml.c_str());
    const std::string reason = CPLGetLastErrorMsg();
    CPLPopErrorHandler();
    const CPLXMLNode* map = document;
    while (map != nullptr && (map->eType != CXT_Element || map->pszValue[0] == '?')) {
        map = map->psNext;
    }
    if (map == nullptr) {
        model.problems.push_back("the earth file is no XML" + (reason.empty() ? "" : ": " + reason));
    } else if (lower(map->pszValue) != "map" && lower(map->pszValue) != "earth") {
        model.problems.push_back("the earth file has no map but " + std::string(map->pszValue));
    } else {
        Reader(model, folder).readMap(configOf(*map, 0));
    }
    CPLDestroyXMLNode(document);
    return model;
}

EarthModel readEarthFile(const std::string& path) {
    GByte* bytes = nullptr;
    vsi_l_offset size = 0;
    CPLPushErrorHandler(CPLQuietErrorHandler);
    const bool read =
        VSIIngestFile(nullptr, path.c_str(), &bytes, &size, static_cast<GIntBig>(kMaxFileBytes)) != 0;
    CPLPopErrorHandler();
    if (!read) {
        EarthModel model;
        model.problems.push_back("the earth file " + path + " cannot be read");
        return model;
    }
    const std::string xml(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    VSIFree(bytes);
    const auto slash = path.find_last_of("/\\");
    return parseEarth(xml, slash == std::string::npos ? "" : path.substr(0, slash));
}

}  // namespace globe
