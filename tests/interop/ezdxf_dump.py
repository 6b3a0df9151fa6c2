#!/usr/bin/python3
"""Canonical JSON summary of a DXF drawing as ezdxf reads it.

The summary is what the interop round trip compares: layers, linetypes, the named-object
dictionary tree, layer-table extension data, viewports and entity counts. Everything is
keyed by name and sorted so that two readings of equivalent drawings give equal JSON.

Usage: ezdxf_dump.py DRAWING.dxf   (prints JSON to stdout, exit 0; exit 2 when unreadable)
"""

import collections
import json
import sys

import ezdxf
from ezdxf import recover
from ezdxf.entities import Dictionary, Layer
from ezdxf.lldxf.types import is_pointer_code

LAYER_FROZEN = 1
LAYER_FROZEN_IN_NEW_VP = 2
LAYER_LOCKED = 4

# Group codes that make up one element of a linetype pattern; each element opens with 49.
LTYPE_ELEMENT_KEYS = {74: "type", 75: "shape", 340: "style", 46: "scale", 50: "rotation",
                      44: "x_offset", 45: "y_offset", 9: "text"}

# ezdxf keeps no attribute for the colour name (430) of a layer, so it is picked up from the
# record's own tags while ezdxf loads it and kept on the layer object.
COLOR_NAME_ATTR = "_interop_color_name"


def _capture_layer_color_name(original):
    def load_dxf_attribs(self, processor=None):
        dxf = original(self, processor)
        if processor is not None:
            for tags in getattr(processor, "subclasses", ()):
                for tag in tags:
                    if tag.code == 430:
                        setattr(self, COLOR_NAME_ATTR, tag.value)
        return dxf

    return load_dxf_attribs


Layer.load_dxf_attribs = _capture_layer_color_name(Layer.load_dxf_attribs)


def load(path):
    """Reads with the strict reader first and falls back to the recovering one.

    Returns (doc, loader) where loader says which reader succeeded and why it was needed.
    """
    try:
        return ezdxf.readfile(path), {"method": "readfile"}
    except Exception as strict_error:  # ezdxf raises several unrelated types on bad input
        doc, auditor = recover.readfile(path)
        return doc, {
            "method": "recover",
            "readfile_error": f"{type(strict_error).__name__}: {strict_error}",
            "audit_errors": len(auditor.errors),
            "audit_fixes": len(auditor.fixes),
        }


class Dumper:
    def __init__(self, doc):
        self.m_doc = doc
        self.m_db = doc.entitydb

    # --- values -------------------------------------------------------------------------

    def describe(self, entity):
        """Names what a pointer points to so that the summary does not hinge on handles
        of named records; unnamed targets keep their handle."""
        for attrib in ("name", "font"):
            if entity.is_supported_dxf_attrib(attrib) and entity.dxf.get(attrib, None):
                return f"{entity.dxftype()}:{entity.dxf.get(attrib)}"
        return f"{entity.dxftype()}#{entity.dxf.handle}"

    def pointer(self, handle):
        if handle in (None, "", "0"):
            return "null"
        entity = self.m_db.get(handle)
        if entity is None or not entity.is_alive:
            return f"dangling#{handle}"
        return self.describe(entity)

    def value(self, code, value):
        if is_pointer_code(code) and isinstance(value, str):
            return self.pointer(value)
        if isinstance(value, (bytes, bytearray)):
            return value.hex().upper()
        if isinstance(value, (str, int, float)):
            return value
        return [float(v) for v in value]  # points: tuples and Vec3

    def tags(self, tags):
        return [[tag.code, self.value(tag.code, tag.value)] for tag in tags]

    # --- dictionaries -------------------------------------------------------------------

    def node(self, value, seen):
        if isinstance(value, str):
            return {"type": "unresolved", "target": self.pointer(value)}
        node = {"type": value.dxftype()}
        if isinstance(value, Dictionary):
            handle = value.dxf.handle
            if handle in seen:
                node["cycle"] = True
            else:
                node["entries"] = self.dictionary(value, seen | {handle})
        elif node["type"] == "XRECORD":
            node["tags"] = self.tags(value.tags)
        elif node["type"] == "DICTIONARYVAR":
            node["value"] = value.dxf.get("value", "")
        return node

    def dictionary(self, dictionary, seen=frozenset()):
        return {key: self.node(value, seen) for key, value in dictionary.items()}

    def extension_dict(self, entity):
        if not entity.has_extension_dict:
            return None
        return self.dictionary(entity.get_extension_dict().dictionary)

    # --- tables -------------------------------------------------------------------------

    def xdata(self, entity):
        if entity.xdata is None:
            return {}
        return {app: self.tags(tags) for app, tags in entity.xdata.data.items()}

    def layer(self, layer):
        dxf = layer.dxf
        flags = dxf.get("flags", 0)
        rgb = layer.rgb
        return {
            "color": abs(dxf.get("color", 7)),
            "on": dxf.get("color", 7) >= 0,
            "true_color": list(rgb) if rgb is not None else None,
            "color_name": getattr(layer, COLOR_NAME_ATTR, None),
            "linetype": dxf.get("linetype", "Continuous"),
            "lineweight": dxf.get("lineweight", -3),
            "plot": bool(dxf.get("plot", 1)),
            "frozen": bool(flags & LAYER_FROZEN),
            "frozen_in_new_viewports": bool(flags & LAYER_FROZEN_IN_NEW_VP),
            "locked": bool(flags & LAYER_LOCKED),
            "description": layer.description,
            "transparency": layer.transparency,
            "xdata": self.xdata(layer),
            "xdict": self.extension_dict(layer),
        }

    def linetype(self, linetype):
        head = {72: None, 73: None, 40: None}
        elements = []
        for tag in linetype.pattern_tags.tags if linetype.pattern_tags else []:
            if tag.code == 49:
                # R12 has no 74; a plain dash there equals type 0 in later versions.
                elements.append({"length": tag.value, "type": 0})
            elif tag.code in LTYPE_ELEMENT_KEYS and elements:
                elements[-1][LTYPE_ELEMENT_KEYS[tag.code]] = self.value(tag.code, tag.value)
            elif tag.code in head:
                head[tag.code] = tag.value
        return {
            "description": linetype.dxf.get("description", ""),
            "alignment": head[72],
            "element_count": head[73],
            "pattern_length": head[40],
            "elements": elements,
        }

    # --- layouts and blocks -------------------------------------------------------------

    @staticmethod
    def counts(entities):
        return dict(sorted(collections.Counter(e.dxftype() for e in entities).items()))

    def viewport(self, viewport):
        dxf = viewport.dxf
        return {
            "status": dxf.get("status", 0),
            "id": dxf.get("id", 0),
            "center": [float(v) for v in dxf.get("center", (0, 0, 0))],
            "frozen_layers": sorted(viewport.frozen_layers or []),
        }

    def layout(self, layout):
        viewports = [self.viewport(vp) for vp in layout.query("VIEWPORT")]
        viewports.sort(key=lambda vp: (vp["id"], vp["center"]))
        return {"entities": self.counts(layout), "viewports": viewports}

    def blocks(self):
        return {block.name: self.counts(block) for block in self.m_doc.blocks
                if not block.is_any_layout}

    # --- whole drawing ------------------------------------------------------------------

    def summary(self):
        doc = self.m_doc
        return {
            "dxfversion": doc.dxfversion,
            "current_layer": doc.header.get("$CLAYER", "0"),
            "layers": {layer.dxf.name: self.layer(layer) for layer in doc.layers},
            "linetypes": {lt.dxf.name: self.linetype(lt) for lt in doc.linetypes},
            "objects": self.dictionary(doc.rootdict) if doc.rootdict is not None else None,
            "layer_table_xdict": self.extension_dict(doc.layers.head),
            "layouts": {layout.name: self.layout(layout) for layout in doc.layouts},
            "blocks": self.blocks(),
        }


def dump(path):
    """Returns the summary of the drawing at path; raises when ezdxf cannot read it."""
    doc, loader = load(path)
    summary = Dumper(doc).summary()
    summary["loader"] = loader
    return summary


def to_json(summary):
    return json.dumps(summary, indent=1, sort_keys=True, ensure_ascii=False)


def main(argv):
    if len(argv) != 2:
        print("usage: ezdxf_dump.py DRAWING.dxf", file=sys.stderr)
        return 2
    try:
        summary = dump(argv[1])
    except Exception as error:
        print(f"ezdxf cannot read {argv[1]}: {type(error).__name__}: {error}", file=sys.stderr)
        return 2
    if summary["loader"]["method"] != "readfile":
        print(f"note: {argv[1]} needed ezdxf.recover.readfile "
              f"({summary['loader']['readfile_error']})", file=sys.stderr)
    print(to_json(summary))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
