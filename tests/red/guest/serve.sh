#!/bin/sh
# Starts the server's Samba and NFS; called again it takes Samba's settings anew. What is to outlive a pulled plug lies on
# the server's own disk, in /srv/estado: smb.global and smb.share (lines for the two sections), lease (NFS, seconds).
state=/srv/estado
mkdir -p $state/nfsdcld /run/samba /var/log/samba /var/lib/samba/private
touch $state/smb.global $state/smb.share
{
    cat <<'CONF'
[global]
    server role = standalone server
    passdb backend = smbpasswd:/srv/estado/smbpasswd
    disable netbios = yes
    smb ports = 445
    load printers = no
    printcap name = /dev/null
    disable spoolss = yes
    log level = 1
CONF
    cat $state/smb.global
    printf '[agenda]\n    path = /srv/agenda\n    read only = no\n    force user = root\n'
    cat $state/smb.share
} >/etc/samba/smb.conf
id oficina >/dev/null 2>&1 || useradd -M oficina
[ -s $state/smbpasswd ] || printf 'oficina\noficina\n' | smbpasswd -s -a oficina
if [ -e /run/samba/smbd.pid ]; then
    kill "$(cat /run/samba/smbd.pid)" 2>/dev/null
    while kill -0 "$(cat /run/samba/smbd.pid)" 2>/dev/null; do sleep 0.2; done
fi
smbd -D

[ -e /run/nfs ] && exit 0
touch /run/nfs
modprobe nfsd
mount -t nfsd nfsd /proc/fs/nfsd
mkdir -p /run/rpc_pipefs
mount -t rpc_pipefs rpc_pipefs /run/rpc_pipefs
echo '/srv/agenda 10.9.0.0/16(rw,sync,no_subtree_check,no_root_squash,fsid=1)' >/etc/exports
# without it the server does not know its clients again after a cut of its power, and nobody gets a lock back
setsid nfsdcld -F --storagedir=$state/nfsdcld >/var/log/nfsdcld.log 2>&1 &
for _ in 1 2 3 4 5 6 7 8 9 10; do [ -p /run/rpc_pipefs/nfsd/cld ] && pidof nfsdcld >/dev/null && break; sleep 0.5; done
sleep 1
exportfs -ra
lease=$(cat $state/lease 2>/dev/null || echo 15)
rpc.nfsd -N 3 -U -L "$lease" -G "$lease" 8
rpc.mountd -N 3
