#!/bin/sh
# First process of a machine, started with nothing but its root, /dev and the host's two folders. The kernel's command line
# says who it is: red=NAME,NUMBER,STATIONS.
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
mount -t proc proc /proc
mount -t sysfs sysfs /sys
for place in /run /tmp /dev/shm; do mkdir -p $place; mount -t tmpfs tmpfs $place; done
mkdir -p /dev/pts
mount -t devpts devpts /dev/pts
modprobe -a virtio_console virtio_net

identity=$(sed 's/.*red=\([^ ]*\).*/\1/' /proc/cmdline)
name=${identity%%,*}
number=$(echo "$identity" | cut -d, -f2)
hostname "$name"
echo "127.0.0.1 localhost $name" >/etc/hosts
ip link set lo up
here=/red/programas/guest
python3 $here/agent.py &

if [ "$name" = servidor ]; then
    # one cable to each workstation, the N-th with the addresses 10.9.N.x
    for card in $(ls /sys/class/net | grep -v '^lo$' | sort -V); do
        at=$((at + 1))
        ip addr add 10.9.$at.1/24 dev "$card"
        ip link set "$card" up
    done
    mkdir -p /srv
    mount -t ext4 /dev/vdb /srv
    mkdir -p -m 777 /srv/agenda
    sh $here/serve.sh
else
    card=$(ls /sys/class/net | grep -v '^lo$')
    ip addr add "10.9.$number.2/24" dev "$card"
    ip link set "$card" up
    modprobe -a cifs nfsv4
fi
touch /run/ready
while :; do wait; sleep 1; done
