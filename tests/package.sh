#!/usr/bin/env bash
# Makes the Debian package, has lintian judge it, unpacks it into a scratch folder and runs the main job from there.
set -euo pipefail
build=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

cpack --config "$build/CPackConfig.cmake" -G DEB -B "$scratch/made" >log 2>&1 || { cat log; exit 1; }
package=$(echo made/morvel_1.3.7_*.deb)
if command -v lintian >/dev/null; then
    lintian --fail-on error,warning "$package"
fi
dpkg-deb -f "$package" Depends | grep -q 'libqt6core6.* (>= 6' || { echo "Qt is no dependency"; exit 1; }
dpkg-deb -f "$package" Recommends | grep -q gnuplot-nox || { echo "gnuplot is not recommended"; exit 1; }
dpkg-deb -x "$package" root
if command -v hardening-check >/dev/null; then
    # Libraries call nothing that could be fortified.
    { hardening-check --nocfprotection root/usr/bin/* &&
        find root/usr/lib -name '*.so' -exec hardening-check --nocfprotection --nofortify {} +; } >log || { cat log; exit 1; }
fi

# Every link in the installed pages leads to an installed file and, in it, to a heading.
for page in root/usr/share/doc/morvel/*.md; do
    { grep -oE '\]\([^)]+\)' "$page" || true; } | sed '/](http/d; s/^](//; s/)$//' | while read -r link; do
        file=${link%%#*} heading=${link#"${link%%#*}"}
        target=${page%/*}/${file:-${page##*/}}
        [ -f "$target" ] || { echo "$page: $link leads nowhere"; exit 1; }
        [ -z "$heading" ] || sed -n 's/^#* //p' "$target" | tr 'A-Z' 'a-z' | sed 's/[^a-z0-9 -]//g; s/ /-/g; s/^/#/' \
            | grep -x -- "$heading" >heading || { echo "$page: $link has no such heading"; exit 1; }
    done
done

root/usr/bin/morvel -M gentoAD -file root/usr/share/doc/morvel/examples/example.gen -out example.ad >log
root/usr/bin/morvel -M gwas -pfile root/usr/share/doc/morvel/examples/example.pheno -gfile example.ad -out hits >log
# The table as README shows it, where its columns are aligned.
diff <(awk '/^    Pheno /, /^$/ { $1 = $1; print }' root/usr/share/doc/morvel/README.md) \
     <(awk '{ $1 = $1; print } END { print "" }' hits)
root/usr/bin/morvel-table check -file root/usr/share/doc/morvel/examples/example.pheno -content phenotypes | grep -q '^120 '
if command -v groff >/dev/null; then
    for page in root/usr/share/man/man1/*.gz; do
        zcat "$page" | groff -man -ww -z 2>warnings
        diff /dev/null warnings
    done
fi

# Installed without the package: the same files, below the given prefix.
DESTDIR=$scratch/staged cmake --install "$build" --prefix /opt/morvel >log
diff <(cd root/usr && find . -type f | sort) <(cd staged/opt/morvel && find . -type f | sort)
