#!/bin/sh
# screen.sh FOLDER DATE: the office's program on a screen without glass; its pixels are a file, /tmp/pantalla/Xvfb_screen0.
# DISPLAY=:1 xdotool is its keyboard, whose keys do not repeat: on a slow machine each is held for long.
mkdir -p /tmp/pantalla /tmp/runtime
export DISPLAY=:1 XDG_RUNTIME_DIR=/tmp/runtime QT_QPA_PLATFORM=xcb LANG=C.UTF-8
Xvfb :1 -r -screen 0 1000x760x24 -fbdir /tmp/pantalla -nolisten tcp >/tmp/xvfb.log 2>&1 &
until xdotool getdisplaygeometry >/dev/null 2>&1; do sleep 0.3; done
openbox >/tmp/openbox.log 2>&1 &
exec oficina --datos "$1" --fecha "$2"
