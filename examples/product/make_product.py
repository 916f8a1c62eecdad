#!/usr/bin/env python3
"""Makes a product: map files, data files of models, a PDL command file, and the product CAB of all of them.

  make_product.py DIR [--models N] [--map-only]

DIR receives velom.map, commands.pdl and q9q9a073.cab; with --map-only the map file alone.  The same N always gives the
same bytes.  200 models by default; 100000 for measurements.
"""
import argparse
import pathlib
import struct
import zlib

LANGUAGES = ("PCL6 PSCRIPT", "PCL5 PCL6", "PCL5 PCL6 PSCRIPT XRASTER", "PCL6 XPS PDF")
CONTROLLERS = ("KESTRIX", "EMBEDDED", "EXTERNAL", "SERVER")
COMPANIES = ("VX", "VG", "VD", "VS")
PER_FAMILY = 25

COMMANDS = """<?xml version="1.0"?>
<!-- The commands of the sample product. -->
<FeatureSet>
{items}</FeatureSet>
"""
ITEM = """  <FeatureItem>
    <Description>{feature}</Description>
{sets}  </FeatureItem>
"""
SET = """    <PDLSet>
      <PDL>{pdl}</PDL>
      <Qualifier>{option}</Qualifier>
      <Instruction>{instruction}</Instruction>
    </PDLSet>
"""
FEATURES = {
    "MediaSize": {"A4": "&eA4Paper;&MediaSize;", "Letter": "&eLetterPaper;&MediaSize;", "A3": "&eA3Paper;&MediaSize;",
                  "COM10": "&eCOM10Envelope;&MediaSize;",
                  "Custom": {"PCL6": "&PhysicalAreaXY;&CustomMediaSize;&eTenthsOfAMillimeter;&CustomMediaSizeUnits;"}},
    "MediaSource": {"Auto": "&eAutoSelect;&MediaSource;", "Tray1": "&eUpperCassette;&MediaSource;",
                    "Manual": "&eManualFeed;&MediaSource;"},
    "MediaType": {"Plain": "&ePlainMedia;&MediaType;", "Transparency": "&eTransparencyMedia;&MediaType;"},
    "Sides": {"OneSided": "&eSimplexFrontSide;&SimplexPageMode;", "LongEdge": "&eDuplexVerticalBinding;&DuplexPageMode;",
              "ShortEdge": "&eDuplexHorizontalBinding;&DuplexPageMode;"},
    "Copies": {"": "&value1;&PageCopies;", "Reset": {"PCL5": "&Esc;E", "PCL6": "&EndPage;"}},
    "Page": {"Begin": {"PCL6": "&BeginPage;"}, "Origin": {"PCL6": "&OriginXY;&PageOrigin;&SetPageOrigin;"}},
    "Halftone": {"Adaptive": {"PCL6": "&eEnableAH;&AllObjectTypes;&SetAdaptiveHalftoning;"},
                 "Trapping": {"PCL6": "&eDisable;&AllObjectTypes;&SetColorTrapping;"},
                 "Neutral": {"PCL6": "&eDisable;&AllObjectTypes;&SetNeutralAxis;"},
                 "Method": {"PCL6": "&eDeviceBest;&DeviceMatrix;&SetHalftonMethod;"},
                 "Vivid": {"PCL6": "&eVivid;&ColorTreatment;&SetColorTreatment;"}},
}


def models(count):
    """Yields (family, model, map line)."""
    for i in range(count):
        family = f"kx{i // PER_FAMILY % 1000:03}"
        color = i % 3 != 1
        model = f"{'Velom ' if i % 2 else ''}KX {1000 + i}{'C' if color else ''}"
        keys = {
            "FAMPATH": family, "PRODUCTNAME": f"KX {1000 + i} Series", "CONTROLLERFAMILY": CONTROLLERS[i % 4],
            "COMPANYNAME": COMPANIES[i % 4], "SEFPRODUCT": "YES" if i % 5 == 0 else "NO",
            "PLATFORMVERSION": f"{1 + i % 4}.{i % 10}", "COLORCAPABLE": "color" if color else "monochrome",
            "RATEDSPEED": str(20 + i % 80), "PRINTERLANG": LANGUAGES[i % 4], "RECOMMENDED": "PCL6",
            "USB_PRODUCT_ID": f"{0x1000 + i:04X}", "JCAP": f"kx{1000 + i}.jcp",
        }
        oids = ",".join(f"1.3.6.1.4.1.99999.8.{i // PER_FAMILY + 1}.{i % PER_FAMILY + 1}.{n}" for n in (1, 2))
        yield family, model, f"{model},{oids}:" + ";".join(f"{k}={v}" for k, v in keys.items())


def map_file(count):
    lines = ["comment;Models of the sample product",
             "ALL_MODELS:PSCOUT=commands.pdl;AUTO=common.aut;MARG=common.mrg;HALFTONES=common.htn;DRIVERCOLLATION=Yes;"
             "ACCOUNTINGPROMPTS=CODE9,color;XCPT_SUPPORT=full-support;PCL6LANGLEVELLOW=1.1;PCL6LANGLEVELHIGH=3.0"]
    return "\r\n".join(lines + [line for _, _, line in models(count)] + [""]).encode()


def command_file():
    items = ""
    for feature, options in FEATURES.items():
        sets = ""
        for option, instruction in options.items():
            by_pdl = instruction if isinstance(instruction, dict) else {"PCL5": instruction, "PCL6": instruction}
            sets += "".join(SET.format(pdl=pdl, option=option, instruction=text) for pdl, text in by_pdl.items())
        items += ITEM.format(feature=feature, sets=sets)
    return COMMANDS.format(items=items).encode()


def cabinet(members):
    """One MSZIP folder; each block stands for itself."""
    data = b"".join(contents for _, contents in members)
    blocks = []
    for start in range(0, len(data), 32768):
        chunk = data[start:start + 32768]
        packer = zlib.compressobj(9, zlib.DEFLATED, -15)
        packed = b"CK" + packer.compress(chunk) + packer.flush()
        blocks.append(struct.pack("<IHH", 0, len(packed), len(chunk)) + packed)
    files, offset = b"", 0
    for name, contents in members:
        files += struct.pack("<IIHHHH", len(contents), offset, 0, 0x226C, 0x59BA, 0x20) + name.encode() + b"\0"
        offset += len(contents)
    first = 36 + 8 + len(files)
    size = first + sum(map(len, blocks))
    header = struct.pack("<4sIIIIIBBHHHHH", b"MSCF", 0, size, 0, 44, 0, 3, 1, 1, len(members), 0, 0, 0)
    return header + struct.pack("<IHH", first, len(blocks), 1) + files + b"".join(blocks)


def product_cab(count):
    members = [("velom.map", map_file(count)), ("DCPVersion.txt", b"5.1009.1.2\r\n")]
    families = {}
    for i, (family, model, _) in enumerate(models(count)):
        families.setdefault(family, []).append((f"kx{1000 + i}.jcp", f"<Capabilities model='{model}'/>\n".encode()))
    for family, files in families.items():
        inside = [("commands.pdl", command_file()), ("common.aut", b"auto\n"), ("common.mrg", b"5 5 5 5\n")] + files
        members += [(f"{family}\\V5.0\\{name}", contents) for name, contents in inside]
        members.append((f"{family}\\V5.0\\halftones.cab", cabinet([("common.htn", bytes(range(256)))])))
    return cabinet(members)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--models", type=int, default=200)
    parser.add_argument("--map-only", action="store_true")
    options = parser.parse_args()
    options.folder.mkdir(parents=True, exist_ok=True)
    (options.folder / "velom.map").write_bytes(map_file(options.models))
    if not options.map_only:
        (options.folder / "commands.pdl").write_bytes(command_file())
        (options.folder / "q9q9a073.cab").write_bytes(product_cab(options.models))


if __name__ == "__main__":
    main()
