#!/bin/bash
# Makes what the machines of the network laboratory start from, below LAB_DIR:
#   imagen.sh disco                 root/, base.img, vmlinuz, initrd: Debian with its own kernel, and nothing of ours in it
#   imagen.sh programas BIN [NAME]  programas/NAME (actual): a release build's programs with the libraries that the root lacks
# The root is made with debootstrap, which needs an administrator; so does reading all of it.
set -euo pipefail

aqui=$(cd "$(dirname "$0")" && pwd)
: "${LAB_DIR:?where the laboratory lies}"
raiz=$LAB_DIR/root
como=""
[ "$(id -u)" -eq 0 ] || como=sudo

sistema=linux-image-amd64,kmod,iproute2,procps,util-linux,e2fsprogs,python3-minimal,libpython3-stdlib
servidor=samba,samba-vfs-modules,nfs-kernel-server
puesto=nfs-common,cifs-utils,keyutils,strace,tcpdump
pantalla=xvfb,xdotool,openbox,libqt6widgets6,libqt6printsupport6,qt6-qpa-plugins,libzip4,fonts-liberation
paquetes=$sistema,$servidor,$puesto,$pantalla

# The modules that must be there before the root is: its disk, and the folders of the host.
primeros="virtio_pci virtio_blk ext4 crc32c_generic 9pnet_virtio 9p"

# A module and all it needs, what is needed first in front.
con_lo_suyo() {
    awk -v wanted="$1" '
        { sub(":", "", $1); name = $1; sub(".*/", "", name); sub("[.]ko$", "", name); gsub("-", "_", name)
          path[name] = $0 }
        END { n = split(path[wanted], part, " "); for (; n > 0; --n) print part[n] }' "$2/modules.dep"
}

# Debian's own finds any disk, which takes minutes on a machine without help of its processor. This one finds ours.
arranque() {
    local modulos arbol orden=""
    modulos=$(echo "$raiz"/lib/modules/*)
    arbol=$(mktemp -d)
    mkdir -p "$arbol"/{bin,mod,dev,proc,new}
    cp /usr/bin/busybox "$arbol/bin/"
    for modulo in $primeros; do
        for fichero in $(con_lo_suyo "$modulo" "$modulos"); do
            [ -e "$arbol/mod/${fichero##*/}" ] && continue
            cp "$modulos/$fichero" "$arbol/mod/"
            orden="$orden ${fichero##*/}"
        done
    done
    cat >"$arbol/init" <<INIT
#!/bin/busybox sh
b=/bin/busybox
\$b mount -t devtmpfs dev /dev
for modulo in$orden; do \$b insmod /mod/\$modulo; done
until [ -b /dev/vda ]; do \$b sleep 0.05; done
\$b mount -t ext4 -o rw /dev/vda /new
\$b mkdir -p /new/red/programas /new/red/salida
\$b mount -t 9p -o trans=virtio,version=9p2000.L,msize=262144,cache=loose,ro programas /new/red/programas
\$b mount -t 9p -o trans=virtio,version=9p2000.L,msize=262144,cache=none salida /new/red/salida
\$b mount -o move /dev /new/dev
exec \$b switch_root /new /bin/sh /red/programas/guest/boot.sh
INIT
    chmod +x "$arbol/init"
    (cd "$arbol" && find . | cpio --quiet -o -H newc | gzip -1) >"$LAB_DIR/initrd"
    rm -rf "$arbol"
}

# The packages, also into a root that was made when they were fewer.
sistema_entero() {
    local faltan="" estado
    if ! [ -d "$raiz/boot" ]; then
        $como debootstrap --variant=minbase --include="$paquetes" bookworm "$raiz"
        return
    fi
    for paquete in ${paquetes//,/ }; do
        estado=$(dpkg-query --admindir="$raiz/var/lib/dpkg" -W -f='${db:Status-Status}' "$paquete" 2>/dev/null || true)
        [ "$estado" = installed ] || faltan="$faltan $paquete"
    done
    if [ -n "$faltan" ]; then
        $como chroot "$raiz" apt-get update -q
        # shellcheck disable=SC2086  # the list is meant to split
        $como chroot "$raiz" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $faltan
    fi
}

disco() {
    mkdir -p "$LAB_DIR"
    sistema_entero
    $como chroot "$raiz" apt-get clean
    cp -L "$raiz/vmlinuz" "$LAB_DIR/vmlinuz"
    arranque
    rm -f "$LAB_DIR/base.img"
    $como mke2fs -q -t ext4 -m 0 -d "$raiz" "$LAB_DIR/base.img" 3G
    [ -z "$como" ] || $como chown "$(id -u)" "$LAB_DIR/base.img"
}

# The names of the shared libraries of some programs, as found on this machine, that the root has not got.
bibliotecas() {
    LD_LIBRARY_PATH=$1/bin:${LD_LIBRARY_PATH:-} ldd "${@:2}" | awk '$3 ~ /^\// { print $3 }' | sort -u |
        while read -r fichero; do
            [ "${fichero#"$1"}" != "$fichero" ] || [ -e "$raiz/usr/lib/x86_64-linux-gnu/${fichero##*/}" ] || echo "$fichero"
        done
}

programas() {
    local nuevo=$LAB_DIR/programas/$2
    rm -rf "$nuevo" "$LAB_DIR/programas/guest"
    mkdir -p "$nuevo"/{bin,lib}
    for programa in agendadriver agendatool oficina; do
        [ ! -e "$1/$programa" ] || cp "$1/$programa" "$nuevo/bin/"
    done
    cp "$1"/lib*.so "$nuevo/bin/"
    bibliotecas "$nuevo" "$nuevo"/bin/* | xargs -r -I{} cp -L {} "$nuevo/lib/"
    cp -r "$aqui/guest" "$LAB_DIR/programas/"
    [ -z "${MDXCHECK:-}" ] || cp "$MDXCHECK" "$LAB_DIR/programas/guest/mdxcheck.py"
}

case ${1:-} in
disco) disco ;;
programas) programas "${2:?where a release build has its programs}" "${3:-actual}" ;;
*) sed -n '2,5p' "$0" >&2; exit 2 ;;
esac
