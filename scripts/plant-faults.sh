#!/usr/bin/env bash
# Measures what the test suite catches: plants one realistic fault at a time in the product code,
# rebuilds, runs the suite and records whether a test failed, then puts the file back exactly.
#
# Usage: scripts/plant-faults.sh BUILD_DIR [FAULT_ID…]   run every fault, or the ones named
#        scripts/plant-faults.sh --check                  show where each fault's text is now
#
# BUILD_DIR is a configured and built tree (scripts/build.sh build/test). Each fault names a
# unique piece of text, looked for by content anywhere under RuvolaCore/ and Ruvola/, so the
# table survives files being moved or split; when code is rewritten, --check says which texts
# to update. A fault is CAUGHT when a test fails (the first to fail is named) and MISSED when the
# whole suite passes. Results go to stdout and to BUILD_DIR/planted-faults.txt. Sources are
# restored after each fault, also on Ctrl-C or an error, and the tree is rebuilt at the end.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
searched=(RuvolaCore Ruvola)

ids=() descriptions=() texts=() replacements=()
fault() {
    ids+=("$1") descriptions+=("$2") texts+=("$3") replacements+=("$4")
}

# Core: wire protocol, control names, key chords, UTF-8, choice of binding.
fault protocol-brightness-unclamped "the backlight level is clamped to 255 rather than 100" \
    'clampedByte(level, 100)' 'clampedByte(level, 255)'
fault protocol-middle-knob-code "the middle knob's press is decoded from code 0x36, not 0x35" \
    'case 0x35:' 'case 0x36:'
fault protocol-image-length-order "the image header carries the JPEG length least significant byte first" \
    'command("BAT", {byte(24), byte(16), byte(8), byte(0),' \
    'command("BAT", {byte(0), byte(8), byte(16), byte(24),'
fault control-number-from-zero "control names accept number 0 (\"key 0\")" \
    '*number < 1 || *number > highest' '*number < 0 || *number > highest'
fault chord-alt-is-control "the modifier word \"alt\" means Control instead of Option" \
    '{"alt", option},' '{"alt", control},'
fault utf8-overlong-accepted "two-byte overlong UTF-8 sequences decode as ASCII" \
    'length = 2, value = lead & 0x1Fu, minimum = 0x80;' \
    'length = 2, value = lead & 0x1Fu, minimum = 0;'
fault binding-app-case-sensitive "\"when\" apps match the frontmost application case-sensitively" \
    'inFront.insert(unicode::lowercased(identifier));' 'inFront.insert(identifier);'

# Application: bindings store, pad connection, key pictures, actions.
fault store-reload-throttled "a burst of file events reloads once its first event is old enough, not after its last" \
    'pendingReload_.start();' 'if (!pendingReload_.isActive()) pendingReload_.start();'
fault store-keeps-sequences "keystroke bindings that are sequences are kept instead of dropped" \
    'if (!trigger.ok() || trigger.value().singleChord() == nullptr) {' 'if (!trigger.ok()) {'
fault pad-keepalive-never-started "the keepalive timer is not started when the pad attaches" \
    'keepalive_.start();' ''
fault pad-firmware-truncated "the firmware text is read from 16 bytes of the feature report, not 20" \
    'firmwareReportLength = 20;' 'firmwareReportLength = 16;'
fault art-ink-threshold "light backgrounds up to luminance 0.5 get white ink" \
    'darkBackgroundThreshold = 0.45;' 'darkBackgroundThreshold = 0.5;'
fault art-rotation-reversed "key pictures are turned counter-clockwise for the rotation setting" \
    'painter.rotate(rotation);' 'painter.rotate(-rotation);'
fault art-wrap-two-lines "names wrap onto at most two lines before the size shrinks" \
    'lines.size() <= 3' 'lines.size() < 3'
fault volume-step-twentieth "a direct volume step is a twentieth instead of a sixteenth" \
    'volumeStep = 1.0 / 16;' 'volumeStep = 1.0 / 20;'
fault volume-keys-never-tried "volume keys are only pressed once known to work, so they are never tried" \
    'if (access_.isTrusted() && volumeKeysWork_ != false) {' \
    'if (access_.isTrusted() && volumeKeysWork_ == true) {'
fault access-granted-after-warning "after the first refusal, keys and text go through without input access" \
    'if (access_.isTrusted()) {' 'if (access_.isTrusted() || warnedAboutAccess_) {'
fault text-chunk-one-short "typed text is cut into chunks of 15 UTF-16 units instead of 16" \
    'current.size() + units.size() > chunkUnits' 'current.size() + units.size() >= chunkUnits'
fault open-desktop-suffix "one character too few of \".desktop\" is cut from application names" \
    'name.chop(8);' 'name.chop(7);'

# Linux backend: processes, directory watcher, desktop entries, windows, keys, hidraw.
fault spawn-raw-wait-status "a process's failure reports the raw wait status, not its exit status" \
    'ActionFailure::Exited{WEXITSTATUS(status)}' 'ActionFailure::Exited{status}'
fault watcher-not-rearmed "the directory watcher is not armed again after its directory is replaced" \
    '        armDirectory();' ''
fault watcher-misses-moved-in "a directory renamed into place is not seen by the parent's watch" \
    'IN_CREATE | IN_MOVED_TO | IN_ONLYDIR' 'IN_CREATE | IN_ONLYDIR'
fault entry-class-case-sensitive "desktop entries are looked up by window class without lower-casing it" \
    '{windowClass, instance, lowered(windowClass), lowered(instance)}' \
    '{windowClass, instance, windowClass, lowered(instance)}'
fault window-named-by-instance "running applications are named by WM_CLASS instance instead of class" \
    '.name = windowClass.name.empty() ? windowClass.instance : windowClass.name,' \
    '.name = windowClass.instance.empty() ? windowClass.name : windowClass.instance,'
fault keys-fine-uses-control "fine volume steps hold Shift and Control instead of Shift and Alt" \
    'fineKeysyms[] = {XK_Shift_L, XK_Alt_L};' 'fineKeysyms[] = {XK_Shift_L, XK_Control_L};'
fault uinput-next-key-code "the virtual keyboard sends KEY_NEXT for the next-track key" \
    'return KEY_NEXTSONG;' 'return KEY_NEXT;'
fault hidraw-no-report-id "output reports are written without the leading report ID byte" \
    'std::ranges::copy(report, buffer.begin() + 1);' 'std::ranges::copy(report, buffer.begin());'

# Wayland: the window list, the virtual keyboard, the session's choice, the panel without a tray.
fault wl-own-window-frontmost "Ruvola's own window counts as the frontmost application" \
    'if (front->appId != ownAppId_) {' 'if (true) {'
fault wl-first-activated-wins "of two windows reported activated, the one activated first is in front" \
    'toplevel.activatedAt > front->activatedAt' 'toplevel.activatedAt < front->activatedAt'
fault wl-control-mask "the keymap gives Control the modifier bit of Mod1" \
    '{modifierFlags::control, "Control", 1u << 2},' '{modifierFlags::control, "Control", 1u << 3},'
fault wl-sway-hide-focuses "hiding on sway focuses the windows instead of moving them to the scratchpad" \
    'return criteria(view) + "move scratchpad";' 'return criteria(view) + "focus";'
fault wl-loss-unnoticed "the session's connection is not read, so a compositor going away goes unsaid" \
    '    connection_->serve();' ''
fault wl-no-virtual-keyboard "the session keeps chords on uinput even where a virtual keyboard exists" \
    'backends.input = std::move(keyboard);' 'backends.input = std::make_unique<UinputChords>();'
fault panel-window-resizable "the panel window has no fixed size, so tiling compositors tile it" \
    'window_->setFixedSize(target.size());' 'window_->resize(target.size());'

die() {
    echo "plant-faults: $*" >&2
    exit 2
}

# The one file under the searched folders holding `text` exactly once, relative to the root.
where() {
    local text=$1 files count
    mapfile -t files < <(cd "$root" && { grep -rlF -- "$text" "${searched[@]}" || true; })
    if ((${#files[@]} != 1)); then
        echo "found in ${#files[@]} files${files[*]:+: ${files[*]}}"
        return 1
    fi
    count=$(grep -oF -- "$text" "$root/${files[0]}" | wc -l)
    if ((count != 1)); then
        echo "found $count times in ${files[0]}"
        return 1
    fi
    echo "${files[0]}"
}

if [[ ${1-} == --check ]]; then
    status=0
    for i in "${!ids[@]}"; do
        if place=$(where "${texts[$i]}"); then
            printf '%-30s %s\n' "${ids[$i]}" "$place"
        else
            printf '%-30s NOT USABLE: %s\n' "${ids[$i]}" "$place"
            status=1
        fi
    done
    exit "$status"
fi

(($# >= 1)) || die "usage: scripts/plant-faults.sh BUILD_DIR [FAULT_ID…] | --check"
build=$(cd "$1" && pwd) || die "no build directory $1"
shift
[[ -f $build/CTestTestfile.cmake ]] || die "$build is not a configured build tree"

# The chosen faults, all checked before anything is built.
chosen=()
if (($# == 0)); then
    chosen=("${!ids[@]}")
else
    for id in "$@"; do
        found=
        for i in "${!ids[@]}"; do
            if [[ ${ids[$i]} == "$id" ]]; then
                found=$i
            fi
        done
        [[ -n $found ]] || die "no fault called $id (see the table in $0)"
        chosen+=("$found")
    done
fi
files=()
problems=()
for i in "${chosen[@]}"; do
    if place=$(where "${texts[$i]}"); then
        files[i]=$place
    else
        problems+=("${ids[$i]}: text ${place}: ${texts[$i]}")
    fi
done
if ((${#problems[@]} > 0)); then
    printf 'plant-faults: %s\n' "${problems[@]}" >&2
    die "update the table before running"
fi

# A copy of the file being changed, kept in the build tree so that even a killed run can be undone.
saved=$build/planted-fault.saved
savedPath=$build/planted-fault.path
restore() {
    if [[ -f $saved && -f $savedPath ]]; then
        # A plain copy gives the file a new time stamp, so the next build compiles it again.
        cp -- "$saved" "$root/$(cat "$savedPath")"
        rm -f -- "$saved" "$savedPath"
    fi
}
# A killed run leaves its copy behind: put it back only while the file is that copy with one
# fault planted, never over later work on the file.
if [[ -f $saved && -f $savedPath ]]; then
    left=$(cat -- "$savedPath")
    original=$(cat -- "$saved" && printf x)
    current=$(cat -- "$root/$left" 2>/dev/null && printf x)
    planted=
    for i in "${!ids[@]}"; do
        if [[ $original == *"${texts[$i]}"* &&
            ${original%%"${texts[$i]}"*}${replacements[$i]}${original#*"${texts[$i]}"} == "$current" ]]; then
            planted=${ids[$i]}
        fi
    done
    if [[ -n $planted ]]; then
        echo "plant-faults: restoring $left, left with $planted planted by an earlier run"
        restore
    else
        echo "plant-faults: an earlier run's copy of $left is not what it planted on; left alone"
        rm -f -- "$saved" "$savedPath"
    fi
fi
interrupted() {
    restore
    echo "plant-faults: stopped; sources restored, run 'cmake --build $build' before testing" >&2
    exit 130
}
trap restore EXIT
trap interrupted INT TERM

results=$build/planted-faults.txt
logs=$build/planted-faults-logs
mkdir -p "$logs"
: >"$results"
report() {
    echo "$1" | tee -a "$results"
}

caught=0
total=0
unbuilt=()
for i in "${chosen[@]}"; do
    id=${ids[$i]}
    file=${files[$i]}
    text=${texts[$i]}
    started=$SECONDS

    content=$(cat -- "$root/$file" && printf x)
    content=${content%x}
    before=${content%%"$text"*}
    after=${content#*"$text"}
    echo "$file" >"$savedPath"
    cp -- "$root/$file" "$saved"
    printf '%s' "$before${replacements[$i]}$after" >"$root/$file"

    outcome=
    if ! cmake --build "$build" >"$logs/$id.build.log" 2>&1; then
        unbuilt+=("$id")
        outcome="DOES NOT BUILD (see $logs/$id.build.log)"
    elif (cd "$build" && ctest --stop-on-failure --parallel 2 --timeout 300 --output-on-failure) \
        >"$logs/$id.ctest.log" 2>&1; then
        outcome=MISSED
    else
        # The first test reported neither passed nor skipped.
        first=$(awk '/Test +#[0-9]+: / && !/ Passed / && !/Skipped/ {
                         for (f = 1; f <= NF; ++f) if ($f ~ /^#[0-9]+:$/) { print $(f + 1); exit }
                     }' "$logs/$id.ctest.log")
        outcome="CAUGHT by ${first:-an error of ctest (see $logs/$id.ctest.log)}"
    fi
    restore
    total=$((total + 1))
    if [[ $outcome == CAUGHT* ]]; then
        caught=$((caught + 1))
    fi
    report "$(printf '%-30s %-70s %s; %s (%ds)' "$id" "$outcome" "$file" \
        "${descriptions[$i]}" $((SECONDS - started)))"
done

report "$caught of $total caught"
if ((${#unbuilt[@]} > 0)); then
    report "did not build, so counted as not caught: ${unbuilt[*]}"
fi
echo "plant-faults: rebuilding the unchanged sources"
cmake --build "$build" >"$logs/final.build.log" 2>&1 ||
    die "the final build failed; see $logs/final.build.log"
