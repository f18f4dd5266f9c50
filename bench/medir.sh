#!/bin/sh
# Prints the speeds of a release build. Usage: medir.sh FOLDER_OF_PROGRAMS
set -eu
programas=$1
export QT_QPA_PLATFORM=offscreen
datos=$(mktemp -d)
trap 'rm -rf "$datos"' EXIT

echo "== Tablas (una agenda de 150.000 líneas)"
"$programas/bench_tablas" --benchmark_counters_tabular=true
echo
echo "== Datos (metas: un día por datos < 2 veces por tabla, rejilla de 150.000 líneas < 30 ms, memoria < 8 MB)"
"$programas/bench_datos"
echo
echo "== Ventana (metas: cambio de día < 16 ms, refresco sin novedad < 0,2 ms)"
"$programas/bench_ventana"
echo
echo "== Lista de 50.000 clientes (meta: una letra < 16 ms)"
"$programas/bench_oficina" 2>/dev/null
echo
echo "== Impresos a PDF (metas: día < 30 ms, semana < 60 ms, 52 semanas < 2 s)"
"$programas/bench_informes"
echo
echo "== Ficha (metas: abierta < 50 ms; aceptar con doce huecos < 20 ms, duradera < 60 ms)"
"$programas/bench_ficha"
echo
echo "== Arranque hasta la agenda pintada (meta: < 300 ms; 20 años de un notario, 5 veces)"
"$programas/oficina" --datos "$datos/oficina" --crear-demo --solo-datos --anyos 20 --fecha 20/11/2026
for vez in 1 2 3 4 5; do
    "$programas/oficina" --datos "$datos/oficina" --fecha 20/11/2026 --mide-arranque 2>/dev/null
done
echo
echo "== Una jornada de ocho horas, acelerada (5 notarios de 20 años; meta: la memoria no crece)"
"$programas/bench_jornada" 2>/dev/null
