#!/bin/sh
# Draws the pictures of the manual from the program itself, on invented data and on one fixed day, so that they come out
# the same again: docs/manual/imagenes.sh [FOLDER WITH oficina]. Only those that a page shows are kept.
set -eu

aqui=$(cd "$(dirname "$0")" && pwd)
programas=${1:-$aqui/../../build/release/bin}
fecha=20/11/2026
mayor=200000 # bytes; the manual travels with the program

trabajo=$(mktemp -d)
trap 'rm -rf "$trabajo"' EXIT

# dibuja FOLDER [options]: every window of an office made for it
dibuja() {
    carpeta=$1
    shift
    QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME="$trabajo/config" LC_ALL=C.UTF-8 \
        "$programas/oficina" --datos "$trabajo/datos-$carpeta" --crear-demo --fecha "$fecha" \
        --capturas "$trabajo/$carpeta" "$@" >"$trabajo/salida" 2>&1 || { cat "$trabajo/salida" >&2; exit 1; }
}

dibuja una
dibuja doble --convenio
# The single-table agenda of two notaries has a window of its own.
cp "$trabajo/doble/agenda-unica.png" "$trabajo/una/agenda-doble.png"
cp "$trabajo/doble/agenda-unica-edicion.png" "$trabajo/una/agenda-doble-edicion.png"

rm -f "$aqui"/imagenes/*.png
mkdir -p "$aqui/imagenes"
for imagen in $(sed -n 's/.*src="imagenes\/\([^"]*\)".*/\1/p' "$aqui"/*.html | sort -u); do
    [ -f "$trabajo/una/$imagen" ] || { echo "$imagen: no window draws it" >&2; exit 1; }
    [ "$(wc -c <"$trabajo/una/$imagen")" -le $mayor ] || { echo "$imagen: over $mayor bytes" >&2; exit 1; }
    cp "$trabajo/una/$imagen" "$aqui/imagenes/"
done
ls "$aqui/imagenes" | wc -l | sed 's/$/ pictures/'
