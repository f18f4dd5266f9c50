#!/bin/sh
# Installs the Debian packages that a task needs and the machine lacks.
#   paquetes.sh construir|pruebas|ejecutar|medir|formato|tidy|asan|cobertura|red ...
set -eu

paquetes_de() {
    case "$1" in
        construir) echo "g++ cmake ninja-build ccache qt6-base-dev libzip-dev libgtest-dev libgmock-dev libbenchmark-dev" ;;
        ejecutar)  echo "qt6-translations-l10n fonts-liberation" ;;
        pruebas)   echo "qt6-translations-l10n fonts-liberation poppler-utils" ;;
        empaquetar) echo "dpkg-dev file lintian" ;;
        medir)     echo "fonts-liberation" ;;
        formato)   echo "clang-format" ;;
        tidy)      echo "clang-tidy" ;;
        asan)      echo "clang libclang-rt-14-dev llvm-14" ;;
        windows)   echo "g++-mingw-w64-x86-64-posix googletest" ;;
        cobertura) echo "gcovr" ;;
        red)       echo "qemu-system-x86 debootstrap e2fsprogs busybox-static cpio python3" ;;
        *) echo "paquetes.sh: no se conoce la tarea '$1'" >&2; exit 2 ;;
    esac
}

faltan=""
for tarea in "$@"; do
    for paquete in $(paquetes_de "$tarea"); do
        estado=$(dpkg-query -W -f='${db:Status-Status}' "$paquete" 2>/dev/null || true)
        [ "$estado" = "installed" ] || faltan="$faltan $paquete"
    done
done
[ -n "$faltan" ] || exit 0

if ! command -v apt-get >/dev/null 2>&1; then
    echo "Faltan paquetes y este sistema no tiene apt-get. Instale lo equivalente a:$faltan" >&2
    exit 1
fi
como=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null 2>&1; then
        echo "Faltan paquetes y no hay sudo. Ejecute como administrador: apt-get install$faltan" >&2
        exit 1
    fi
    como="sudo"
fi

echo "Instalando:$faltan"
# Another run of the package tools, such as the daily one of a new machine, is waited for.
espera="-o DPkg::Lock::Timeout=600"
instala() {
    # shellcheck disable=SC2086  # the lists are meant to split
    $como env DEBIAN_FRONTEND=noninteractive apt-get $espera install -y --no-install-recommends $faltan >/tmp/agenda-paquetes.$$ 2>&1
}
# The lists of a new machine are empty or old: only then is the slower update worth its time.
if ! instala; then
    # shellcheck disable=SC2086
    $como apt-get $espera update >/dev/null 2>&1 || true
    if ! instala; then
        tail -n 20 /tmp/agenda-paquetes.$$ >&2
        rm -f /tmp/agenda-paquetes.$$
        echo "No se han podido instalar los paquetes:$faltan" >&2
        exit 1
    fi
fi
rm -f /tmp/agenda-paquetes.$$
