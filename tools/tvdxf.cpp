// tvdxf: a small command-line tool on the drawing database (info, layers, roundtrip).
#include <tv/KdDbBlockTableRecord.h>
#include <tv/KdDbDatabase.h>
#include <tv/KdDbDictionary.h>
#include <tv/KdDbEntity.h>
#include <tv/KdDbLayerTableRecord.h>
#include <tv/KdDbLayout.h>
#include <tv/KdDbSymbolTable.h>
#include <tv/KdDbViewport.h>
#include <tv/KdDbXrecord.h>
#include <tv/KdFormat.h>


#include <cstdio>
#include <cstring>
#include <map>
#include <string>

namespace {

int usage() {
    std::fprintf(stderr, "usage: tvdxf info FILE\n"
                         "       tvdxf layers FILE\n"
                         "       tvdxf roundtrip IN OUT\n");
    return 2;
}

bool load(KdDbDatabase& db, const char* path) {
    std::string error;
    if (db.readDxfFile(path, &error) != Kdad::eOk) {
        std::fprintf(stderr, "tvdxf: %s\n", error.c_str());
        return false;
    }
    for (const std::string& w : db.readWarnings())
        std::fprintf(stderr, "tvdxf: %s: warning: %s\n", path, w.c_str());
    return true;
}

const char* versionName(KdDb::DwgVersion v) {
    switch (v) {
    case KdDb::kDHL_1009:
        return "R12 (AC1009)";
    case KdDb::kDHL_1015:
        return "R2000 (AC1015)";
    case KdDb::kDHL_1018:
        return "R2004 (AC1018)";
    case KdDb::kDHL_1021:
        return "R2007 (AC1021)";
    case KdDb::kDHL_1024:
        return "R2010 (AC1024)";
    case KdDb::kDHL_1027:
        return "R2013 (AC1027)";
    case KdDb::kDHL_1032:
        return "R2018 (AC1032)";
    default:
        return "unknown";
    }
}

size_t tableCount(KdDbDatabase& db, std::string_view name) {
    KdDbObjectId id = db.tableId(name);
    KdDbObjectPointer<KdDbSymbolTable> table(id, KdDb::kForRead);
    return table ? table->count() : 0;
}

int info(const char* path) {
    KdDbDatabase db(false);
    if (!load(db, path))
        return 1;
    std::map<std::string, size_t> entities;
    size_t dictionaries = 0, xrecords = 0, layouts = 0, viewports = 0, blocks = 0;
    for (const KdDbObjectCount& c : db.countObjects()) {
        if (c.type == "BLOCK")
            blocks = c.count;
        else if (c.entity && c.type != "ENDBLK")
            entities[c.type] = c.count;
        if (c.type == "DICTIONARY" || c.type == "ACDBDICTIONARYWDFLT")
            dictionaries += c.count;
        else if (c.type == "XRECORD")
            xrecords = c.count;
        else if (c.type == "LAYOUT")
            layouts = c.count;
        if (c.type == "VIEWPORT")
            viewports = c.count;
    }
    size_t total = 0;
    for (auto& [type, n] : entities)
        total += n;
    std::printf("file: %s\n", path);
    std::printf("version: %s\n", versionName(db.originalFileVersion()));
    std::printf("layers: %zu\n", tableCount(db, "LAYER"));
    std::printf("linetypes: %zu\n", tableCount(db, "LTYPE"));
    std::printf("blocks: %zu\n", blocks);
    std::printf("layouts: %zu\n", layouts);
    std::printf("viewports: %zu\n", viewports);
    std::printf("dictionaries: %zu\n", dictionaries);
    std::printf("xrecords: %zu\n", xrecords);
    std::printf("entities: %zu\n", total);
    for (auto& [type, n] : entities)
        std::printf("  %s: %zu\n", type.c_str(), n);
    return 0;
}

std::string colorText(const KdCmColor& c) {
    if (c.isByColor()) {
        std::string s = tvFormat("%u,%u,%u", c.red(), c.green(), c.blue());
        if (c.hasBookName())
            s += " (" + KdString(c.bookName()).utf8() + "$" + KdString(c.colorName()).utf8() + ")";
        return s;
    }
    return std::to_string(c.colorIndex());
}

int layers(const char* path) {
    KdDbDatabase db(false);
    if (!load(db, path))
        return 1;
    KdDbLayerTable* table = nullptr;
    if (db.getSymbolTable(table, KdDb::kForRead) != Kdad::eOk) {
        std::fprintf(stderr, "tvdxf: %s: the drawing has no layer table\n", path);
        return 1;
    }
    table->generateUsageData();
    KdDbObjectId current = db.clayer();
    std::printf("%-32s %-3s %-3s %-3s %-3s %-3s %-5s %-18s %-16s %-6s %-12s %-5s %s\n", "name",
                "on", "frz", "lck", "plt", "vpf", "used", "color", "linetype", "lwt", "plotstyle",
                "transp", "description");
    auto it = table->iterator();
    for (; !it->done(); it->step()) {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(it->getRecordId(), KdDb::kForRead);
        if (!layer)
            continue;
        KdString ltName;
        KdDbObjectPointer<KdDbSymbolTableRecord> lt(layer->linetypeObjectId(), KdDb::kForRead);
        if (lt)
            ltName = lt->name();
        KdCmTransparency tr = layer->transparency();
        std::printf("%-32s %-3s %-3s %-3s %-3s %-3s %-5s %-18s %-16s %-6d %-12s %-5d %s%s\n",
                    layer->name().utf8().c_str(), layer->isOff() ? "off" : "on",
                    layer->isFrozen() ? "yes" : "no", layer->isLocked() ? "yes" : "no",
                    layer->isPlottable() ? "yes" : "no", layer->VPDFLT() ? "yes" : "no",
                    layer->isInUse() ? "yes" : "no", colorText(layer->color()).c_str(),
                    ltName.utf8().c_str(), static_cast<int>(layer->lineWeight()),
                    layer->plotStyleName().utf8().c_str(), tr.percent(),
                    layer->description().utf8().c_str(),
                    it->getRecordId() == current ? "  (current)" : "");
    }
    table->close();
    return 0;
}

int roundtrip(const char* in, const char* out) {
    KdDbDatabase db(false);
    if (!load(db, in))
        return 1;
    std::string error;
    if (db.saveAs(out, &error) != Kdad::eOk) {
        std::fprintf(stderr, "tvdxf: %s\n", error.c_str());
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return usage();
    std::string cmd = argv[1];
    if (cmd == "info" && argc == 3)
        return info(argv[2]);
    if (cmd == "layers" && argc == 3)
        return layers(argv[2]);
    if (cmd == "roundtrip" && argc == 4)
        return roundtrip(argv[2], argv[3]);
    return usage();
}
