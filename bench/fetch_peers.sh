# shellcheck shell=bash
# shellcheck disable=SC2154 # $build and $logs are set by scripts/setup.sh
# Unpacks the peers' i386 packages under build/peers. Sourced by bench/run.
#
# They are not installed: their linux-libc-dev for i386 would take the amd64 compiler's away.

sysroot=$build/peers/sysroot
packages=$build/peers/packages

peer_packages=(
    libjpeg62-turbo-dev libpng-dev zlib1g-dev libgif-dev libgif7
    libfreeimage-dev libfreeimage3 libleptonica-dev liblept5 libstb-dev
    # What the shared libraries among them need:
    libimath-3-1-29 libjxr0 libopenexr-3-1-30 libopenjp2-7 libgomp1 liblcms2-2 libraw20 libwebpmux3 libwebp7
    libtiff6 libjbig0 liblerc4 libdeflate0 liblzma5 libzstd1 libjpeg62-turbo libpng16-16 zlib1g
)

# The package's file in the folder of those downloaded, if it is there.
package_file() { compgen -G "$packages/$1_*.deb" | head -n 1; }

download() { (cd "$packages" && run_logged peers.log apt-get download "${@/%/:i386}"); }

fetch_peers() {
    local package
    local -a missing=()
    mkdir -p "$packages"
    for package in "${peer_packages[@]}"; do
        [[ -n $(package_file "$package") ]] || missing+=("$package")
    done
    ((${#missing[@]})) || [[ ! -d $sysroot ]] || return 0
    say "Downloading the peers' packages ..."
    if ((${#missing[@]})) && ! download "${missing[@]}"; then
        prepare_apt wine32:i386 || true # fresh lists
        for package in "${missing[@]}"; do
            download "$package" || say "$package for i386 cannot be had."
        done
    fi
    rm -rf "$sysroot"
    mkdir -p "$sysroot"
    for package in "$packages"/*.deb; do
        [[ ! -e $package ]] || dpkg -x "$package" "$sysroot"
    done
}

# The versions of the packages that are measured.
peer_versions() {
    local package file
    # shellcheck disable=SC2016 # dpkg-deb's own fields
    for package in libfreeimage3 liblept5 libjpeg62-turbo-dev libpng-dev zlib1g-dev libgif-dev libstb-dev; do
        file=$(package_file "$package")
        [[ -z $file ]] || dpkg-deb -W --showformat='${Package} ${Version}, ' "$file"
    done | sed 's/, $//'
}
