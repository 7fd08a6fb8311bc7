# For the scripts beside it. They are called with the source folder, the build folder and a scratch folder, in which
# the first of them has installed everything into prefix/.
set -euo pipefail
source_dir=$1 build=$2 scratch=$3
prefix=$scratch/prefix

fail() { echo "FAILED: $*" >&2; exit 1; }

# expect_metadata OUTPUT: it is what the PDF of make_pdf gives.
expect_metadata() {
  grep -q '"kMDItemTitle": "Yearly report"' <<<"$1" || fail "no title in: $1"
  grep -q 'Wool and water' <<<"$1" || fail "no text in: $1"
}

# make_crasher: for what follows, files with the extension "deadly" end the helper that reads them.
make_crasher() {
  export XDG_DATA_HOME=$scratch/data
  local bundle=$XDG_DATA_HOME/quarry/Spotlight/Aborts.mdimporter/Contents
  mkdir -p "$bundle/Linux"
  cp "$build/tests/importer-bundles/Aborts.so" "$bundle/Linux/Aborts"
  cat > "$bundle/Info.plist" <<'PLIST'
<plist version="1.0"><dict>
  <key>CFBundleIdentifier</key><string>org.quarry.test.aborts</string>
  <key>CFBundleExecutable</key><string>Aborts</string>
  <key>UTExportedTypeDeclarations</key><array><dict>
    <key>UTTypeIdentifier</key><string>org.quarry.test.deadly</string>
    <key>UTTypeConformsTo</key><string>public.data</string>
    <key>UTTypeTagSpecification</key><dict><key>public.filename-extension</key><string>deadly</string></dict>
  </dict></array>
  <key>CFBundleDocumentTypes</key><array><dict>
    <key>CFBundleTypeRole</key><string>MDImporter</string>
    <key>LSItemContentTypes</key><array><string>org.quarry.test.deadly</string></array>
  </dict></array>
  <key>CFPlugInFactories</key><dict>
    <key>00000000-0000-0000-0000-000000000001</key><string>makeTestImporter</string>
  </dict>
  <key>CFPlugInTypes</key><dict>
    <key>8B08C4BF-415B-11D8-B3F9-0003936726FC</key>
    <array><string>00000000-0000-0000-0000-000000000001</string></array>
  </dict>
</dict></plist>
PLIST
  echo x > "$scratch/bad.deadly"
}

# make_pdf FILE: a one-page PDF. Its cross-reference table is right, so nothing has to be repaired.
make_pdf() {
  python3 - "$1" <<'PYTHON'
import sys
objects = [
    b"<< /Type /Catalog /Pages 2 0 R >>",
    b"<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
    b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 300 200] /Contents 4 0 R /Resources << /Font << /F 5 0 R >> >> >>",
    b"<< /Length 47 >>\nstream\nBT /F 12 Tf 20 100 Td (Wool and water) Tj ET   \nendstream",
    b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
    b"<< /Title (Yearly report) /Author (A. Writer) >>",
]
pdf, places = b"%PDF-1.4\n", []
for number, body in enumerate(objects, 1):
    places.append(len(pdf))
    pdf += b"%d 0 obj\n%s\nendobj\n" % (number, body)
table = len(pdf)
pdf += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
pdf += b"".join(b"%010d 00000 n \n" % place for place in places)
pdf += b"trailer\n<< /Size %d /Root 1 0 R /Info 6 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, table)
open(sys.argv[1], "wb").write(pdf)
PYTHON
}
