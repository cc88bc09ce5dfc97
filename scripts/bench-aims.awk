# Puts what scripts/bench.sh measured beside what is aimed at, as rows of a table. Reads the texts of pixel_bench, the comparison of the
# builds, picture_bench, ce_instructions and bilevel_bench with its instructions, in any order; what is not there is left out.

function row(what, size, relation, aim, reached) {
    met = relation == "<=" ? reached <= aim : reached >= aim
    printf "| %s | %s | %s %s | %.2f | %s |\n", what, size, relation == "<=" ? "at most" : "at least", aim, reached, met ? "" : "**missed**"
}
# Time of one contender as a multiple of another's.
function compare(what, race, one, other, relation, aim) {
    if (((race, size, one) in time) && ((race, size, other) in time))
        row(what, size, relation, aim, time[race, size, one] / time[race, size, other])
}

# The smallest ratio over the contents that match: how many times faster `ours` is than the peer.
function slowest(what, stage, peer, ours, contents, aim,    key, parts, s, ratio, least) {
    for (s = 1; s <= bilevelSizes; ++s) {
        least = 0
        for (key in bilevel) {
            split(key, parts, SUBSEP)
            if (parts[1] != stage || parts[2] != ours || parts[3] != bilevelSize[s] || parts[4] !~ contents) continue
            if (!((stage, peer, parts[3], parts[4]) in bilevel)) continue
            ratio = bilevel[stage, peer, parts[3], parts[4]] / bilevel[key]
            if (!least || ratio < least) least = ratio
        }
        if (least) row(what, bilevelSize[s], ">=", aim, least)
    }
}
# The largest number over all contents: instructions a pixel, or (peer given) their share of the peer's.
function most(what, stage, ours, peer, aim,    key, parts, number, largest) {
    for (key in counted) {
        split(key, parts, SUBSEP)
        if (parts[1] != stage || parts[2] != ours) continue
        number = peer == "" ? counted[key] : counted[key] / counted[stage, peer, parts[3]]
        if (number > largest) largest = number
    }
    if (largest) row(what, "640x480", "<=", aim, largest)
}

# pixel_bench: "YUY2 to RGB565, 640 x 480 (best of 488 rounds)", then "  NAME   T ms ...".
/^[A-Z].*, [0-9]+ x [0-9]+ \(best/ {
    split($0, parts, /, | \(/)
    race = parts[1]
    size = parts[2]
    if (!(size in sizeSeen)) { sizeSeen[size] = 1; sizes[++sizeCount] = size }
}
/^  .* ms +[0-9.]+ ns\/pixel/ {
    name = $0
    sub(/^  /, "", name)
    sub(/ +[0-9.]+ ms .*/, "", name)
    match($0, / [0-9.]+ ms /)
    time[race, size, name] = substr($0, RSTART, RLENGTH) + 0
}
# The comparison of the builds: the largest ratio of all kernels and sizes.
/^[A-Za-z].* +[0-9]+x[0-9]+ +[A-Za-z0-9]+ +[0-9.]+ +[0-9.]+ +[0-9.]+$/ {
    if ($NF > largestKernel) { largestKernel = $NF; worstKernel = $0; sub(/ +[0-9.]+ +[0-9.]+ +[0-9.]+$/, "", worstKernel); gsub(/ +/, " ", worstKernel) }
    ++kernels
}
# picture_bench: "BMP 640 x 480: ... (medians: A, B: R)".
/^BMP / {
    bmpSize[++bmps] = $2 " x " ($4 + 0)
    bmpRatio[bmps] = $NF + 0
}
# ce_instructions: kernel, set, count, per pixel, of plain, bytes.
/^YUY2 to RGB565 +word / { arm["YUY2 to RGB565", 0.5] = $(NF - 1) }
/^grey to words +word / { arm["grey to words", 0.6] = $(NF - 1) }
/^JPEG, quality 90 +chosen / { jpegOnArm = $(NF - 2) }
/^PNG +chosen / { pngOnArm = $(NF - 2) }
/^RGB565 to RGB888 +word / { arm["RGB565 to RGB888", 0.6] = $(NF - 1) }

# bilevel_bench: | stage | implementation | size | content | ns a pixel | ...; its instructions: | stage | implementation | content | number | share |.
/^\| (threshold|group4|file) / {
    n = split($0, cell, / *\| */)
    if (cell[4] ~ /^[0-9]+x[0-9]+$/) {
        if (!(cell[4] in bilevelSeen)) { bilevelSeen[cell[4]] = 1; bilevelSize[++bilevelSizes] = cell[4] }
        bilevel[cell[2], cell[3], cell[4], cell[5]] = cell[6] + 0
    } else counted[cell[2], cell[3], cell[4]] = cell[5] + 0
}

END {
    for (s = 1; s <= sizeCount; ++s) {
        size = sizes[s]
        fastest = "libyuv AVX2, two passes"
        if (time["YUY2 to RGB565", size, fastest " by row"] < time["YUY2 to RGB565", size, fastest]) fastest = fastest " by row"
        compare("YUY2 to RGB565: libyuv's AVX2 (the faster of its two forms) to ours", "YUY2 to RGB565", fastest, "Ocellus avx2", ">=", 1.5)
        compare("YUY2 to RGB565: ours with SSE2 only to libyuv's AVX2", "YUY2 to RGB565", "Ocellus sse2", fastest, "<=", 1.2)
        compare("YUY2 to RGB565: swscale to ours", "YUY2 to RGB565", "swscale", "Ocellus avx2", ">=", 5.5)
        compare("grey to words: ours to OpenCV", "Grey to words", "Ocellus avx2", "OpenCV, grey to BGR565", "<=", 1.2)
        compare("grey to words: plain twin to ours", "Grey to words", "Ocellus plain", "Ocellus avx2", ">=", 4)
        compare("RGB565 to RGB888: ours to OpenCV", "RGB565 to RGB888 rows", "Ocellus avx2", "OpenCV, BGR565 to RGB (not rounded)", "<=", 1.2)
        compare("RGB565 to RGB888: plain twin to ours", "RGB565 to RGB888 rows", "Ocellus plain", "Ocellus avx2", ">=", 4)
        compare("RGB565 to JPEG: ours to libjpeg-turbo alone", "JPEG in memory", "Ocellus, from RGB565", "libjpeg-turbo alone, from RGB888", "<=", 0.92)
        compare("YUY2 to JPEG: ours to libjpeg-turbo alone", "JPEG in memory", "Ocellus, from YUY2", "libjpeg-turbo alone, from RGB888", "<=", 1.25)
        compare("YUY2 to JPEG file: OpenCV's `imwrite` to ours", "YUY2 frame to JPEG file", "OpenCV, YUY2 to BGR, imwrite", "Ocellus", ">=", 1.6)
        compare("RGB565 to PNG: libpng alone to ours", "PNG in memory", "libpng alone, from RGB888", "Ocellus, from RGB565", ">=", 4)
    }
    for (b = 1; b <= bmps; ++b) row("BMP file: ours to a bare write (medians)", bmpSize[b], "<=", 1.35, bmpRatio[b])
    if (kernels) row("Windows build to native build, worst of " kernels " (" worstKernel ")", "all", "<=", 1.1, largestKernel)
    for (key in arm) {
        split(key, parts, SUBSEP)
        row(parts[1] ": instructions on ARM to the plain twin's", "640 x 480", "<=", parts[2], arm[key])
    }
    if (jpegOnArm) row("JPEG, quality 90: instructions a pixel on ARM", "640 x 480", "<=", 105, jpegOnArm)
    if (pngOnArm) row("PNG: instructions a pixel on ARM", "640 x 480", "<=", 300, pngOnArm)
    slowest("Group 4: libtiff to ours, worst content but random bits", "group4", "libtiff", "sse2", "^[^r]", 5)
    slowest("Group 4: libtiff to ours, random bits", "group4", "libtiff", "sse2", "^random", 4.5)
    slowest("Group 4: spandsp to ours, worst content", "group4", "spandsp", "sse2", ".", 2)
    slowest("threshold: OpenCV to ours with SSE2, worst content", "threshold", "opencv", "sse2", ".", 2.4)
    slowest("threshold: OpenCV to ours with AVX2, worst content", "threshold", "opencv", "avx2", ".", 4)
    slowest("YUY2 frame to TIFF: OpenCV and libtiff to ours with SSE2, worst content", "file", "opencv + libtiff", "sse2", ".", 3)
    slowest("YUY2 frame to TIFF: OpenCV and libtiff to ours with AVX2, worst content", "file", "opencv + libtiff", "avx2", ".", 3.7)
    most("Group 4: our instructions to libtiff's, worst content", "group4", "sse2", "libtiff", 0.33)
    most("threshold: instructions a pixel with SSE2", "threshold", "sse2", "", 11)
}
