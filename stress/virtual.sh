#!/usr/bin/env bash
# Runs a command as root of a virtual machine of its own, x86-64, whose clock may be set; fails if the command does.
#   virtual.sh PROGRAM [WORD...]   PROGRAM, and words that are files here, are there under the same names
# Emulated even where there is /dev/kvm: inside another virtual machine that may be slower, or stand still.
set -euo pipefail

./scripts/setup.sh virtual
machine=$PWD/build/virtual
rm -rf "$machine/root" "$machine/console"
mkdir -p "$machine/root"/{proc,sys,dev}

# Taken out of its package rather than installed: that would change what this machine boots.
kernel=$(apt-cache depends linux-image-cloud-amd64 | sed -n 's/.*Depends: //p')
if [ ! -f "$machine/$kernel" ]; then
    rm -f "$machine"/*.deb
    (cd "$machine" && apt-get download -qq -o APT::Sandbox::User=root "$kernel")
    dpkg-deb --fsys-tarfile "$machine"/*.deb | tar -xO --wildcards './boot/vmlinuz-*' >"$machine/kernel.new"
    mv "$machine/kernel.new" "$machine/$kernel"
fi

files=(/bin/sh)
for tool in date mount sed sleep true unshare; do files+=("$(type -P $tool)"); done
for word in "$@"; do [ ! -f "$word" ] || files+=("$word"); done
libraries=$(for file in "${files[@]}"; do ldd "$file" 2>&1 | grep -o '/[^ :]*' || true; done | sort -u)
# shellcheck disable=SC2086
cp -L --parents "${files[@]}" $libraries "$machine/root"
cat >"$machine/root/init" <<END
#!/bin/sh
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev
while date; do sleep 3; done &
$(printf '%q ' "$@")
echo "virtual.sh: ended with \$?"
sleep 1
echo o >/proc/sysrq-trigger
sleep 60
END
chmod +x "$machine/root/init"
(cd "$machine/root" && find . | cpio -o -H newc --quiet) >"$machine/initramfs"

timeout 300 qemu-system-x86_64 -accel tcg -cpu max -smp 2 -m 512 -nic none -display none -no-reboot \
    -kernel "$machine/$kernel" -initrd "$machine/initramfs" -append "console=ttyS0 quiet panic=-1" \
    -serial "file:$machine/console" </dev/null || echo "virtual.sh: the machine did not end: $?"
tr -d '\r' <"$machine/console"
grep -q "^virtual.sh: ended with 0" "$machine/console"
