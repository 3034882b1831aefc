# The draw command: a picture that an XML parser reads, of what the lists
# hold, to stdout or to a file; clear refusals; nothing created by drawing.
# Usage: bash ToolDrawTest.sh TOOL [EMULATOR...]  (in a private IPC namespace)
source "$(dirname "$0")/ToolTestLib.sh" "$@"

SAMPLE="$(cd "$(dirname "$0")/../.." && pwd)/data/sample-intersection.map"

# well_formed FILE: python's XML parser reads it.
well_formed() { python3 -c 'import sys, xml.dom.minidom as m; m.parse(sys.argv[1])' "$1" 2>/dev/null; }
segments() { ipcs -m | grep -c '^0x'; }

expect_error "draw without owner" 1 'list map .*no owner' draw
expect_no_ipc "draw without owner creates nothing"

# The map, the fix and its location only: the other lists stay without owner.
start_owner map gnss trace location lights || { finish; exit 1; }
v2x map load "$SAMPLE" >/dev/null
v2x gnss push --lon 120.120054518 --lat 29.999640 --speed 12.5 --heading 0 >/dev/null
v2x locate --gnss >/dev/null
before=$(segments)

run draw
judge "draw to stdout" '[ "$RC" -eq 0 ] && well_formed "$WORK/out" &&
    grep -q "id=\"vehicle\"" "$WORK/out" && grep -q "id=\"located-link\" data-node=\"1001\" data-upstream=\"1005\"" "$WORK/out"'
judge "lists without owner named, not created" '[ "$(segments)" -eq "$before" ] &&
    grep -q ">rsi, ptc, obu, rsu, targets<" "$WORK/out"'
expect_grep "draw to a file" '^wrote the map picture to .*map.svg \([0-9]+ bytes\)$' draw --out "$WORK/map.svg"
judge "the file holds the picture" 'well_formed "$WORK/map.svg" && grep -q "data-centre=\"vehicle\"" "$WORK/map.svg"'
run draw --node 1002 --around 600
judge "centred on a node" '[ "$RC" -eq 0 ] && grep -q "data-centre=\"node\" data-around=\"600.0\"" "$WORK/out" &&
    [ "$(grep -c "class=\"node\"" "$WORK/out")" -eq 2 ]'

expect_error "unknown node" 1 'node 999 is not in the map list' draw --node 999
expect_error "radius zero" 2 'around' draw --around 0
expect_error "radius not a number" 2 'around' draw --around wide
expect_error "node not a number" 2 'node' draw --node x1
expect_error "unwritable file" 1 'cannot write /nonexistent/map.svg' draw --out /nonexistent/map.svg
stop_owner
finish
