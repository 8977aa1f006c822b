# shellcheck shell=bash
# shellcheck disable=SC2034,SC2154 # the lists are for the callers; $own and $logs are set by setup.sh
# Installs the Debian packages that are missing. Sourced by setup.sh; called through its in_turn.
#
# A mirror sometimes carries different versions of a library for amd64 and i386, because one architecture's list lags
# or a list does not download. Both must be installed in the same version, and then apt refuses. What helps is to take
# the release's own versions instead of the security suite's, and where a newer one is installed already, to go back.

# PACKAGE=PROBE: a command or a file pattern; where it is found, by whatever means it came, nothing is installed.
building_and_running=(
    cmake=cmake
    ninja-build=ninja
    g++-mingw-w64-i686-posix=i686-w64-mingw32-g++-posix
    libz-mingw-w64-dev=/usr/i686-w64-mingw32/lib/libz.a
    wine=wine
    wine32:i386=/usr/lib/wine/wine
    googletest=/usr/src/googletest/CMakeLists.txt # small, and the build is configured with its tests
)
testing=(
    xvfb=Xvfb
)
# Programs that judge our files. Tests that want one skip where it is absent.
judging=(
    imagemagick=identify
    giflib-tools=giftext
    libjpeg-turbo-progs=djpeg
    pngcheck=pngcheck
    libpng-tools=pngfix
)
# The same sources as 32-bit Linux programs under sanitizers; their zlib comes with 32-bit Wine.
checking=(
    cmake=cmake
    ninja-build=ninja
    g++-mingw-w64-i686-posix=i686-w64-mingw32-g++-posix
    libz-mingw-w64-dev=/usr/i686-w64-mingw32/include/zlib.h
    zlib1g:i386=/usr/lib/i386-linux-gnu/libz.so.1
    googletest=/usr/src/googletest/CMakeLists.txt
    'g++-multilib=/usr/lib/gcc/x86_64-linux-gnu/*/32/libgcc.a'
)
fuzzing=(
    clang=clang++
    'libclang-rt-14-dev=/usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-i386.a'
)
packaging=(
    python3=/usr/bin/python3
    doxygen=doxygen
    llvm=llvm-dlltool # makes the import library for Microsoft's linker
)
# Compilers that try the package out. Checks that want one skip where it is absent.
consuming=(
    clang=clang
    lld=lld-link
    fpc=fpc
    mono-mcs=mcs
)
benchmarking=(
    'g++-multilib=/usr/lib/gcc/x86_64-linux-gnu/*/32/libgcc.a'
)

# list_missing PACKAGE=PROBE...: prints the packages whose probe finds nothing.
list_missing() {
    local need probe
    for need in "$@"; do
        probe=${need#*=}
        case $probe in
            /*) compgen -G "$probe" >/dev/null || echo "${need%%=*}" ;;
            *) command -v "$probe" >/dev/null || echo "${need%%=*}" ;;
        esac
    done
}

# install_missing PACKAGE=PROBE...: returns when all are there, or ends the program with the reason.
install_missing() {
    local -a packages
    mapfile -t packages < <(list_missing "$@")
    ((${#packages[@]})) || return 0
    say "Missing: ${packages[*]}"
    prepare_apt "${packages[@]}" ||
        fail "What is missing cannot be installed from here. $(by_hand "${packages[@]}")."
    fail_on_unknown "${packages[@]}"
    say "Installing them (this can take some minutes) ..."
    install_plain "${packages[@]}" && return
    fail_on_download "${packages[@]}"
    install_in_step "${packages[@]}" || explain_and_fail "${packages[@]}"
}

# install_optional PACKAGE=PROBE...: tries each list once per checkout; what cannot be had is told and done without.
install_optional() {
    local -a packages
    local package tried=$own/optional-packages-tried-${1%%=*}
    mapfile -t packages < <(list_missing "$@")
    if ((${#packages[@]} == 0)) || [[ -e $tried ]]; then
        return 0
    fi
    touch "$tried"
    say "Missing, not needed but good to have: ${packages[*]}"
    prepare_apt "${packages[@]}" || return 0
    say "Installing them ..."
    install_plain "${packages[@]}" && return
    install_release_versions "${packages[@]}" && return
    for package in "${packages[@]}"; do
        install_plain "$package" || install_release_versions "$package" ||
            say "$package cannot be had; what wants it is skipped."
    done
}

# prepare_apt PACKAGE...: root's rights, the i386 architecture where a package needs it, fresh lists; once per run.
apt_is_prepared=
prepare_apt() {
    [[ -z $apt_is_prepared ]] || return 0
    if ! command -v apt-get >/dev/null; then
        say "This system has no apt-get."
        return 1
    fi
    become_root || return
    : >"$logs/install.log"
    if [[ -n $(dpkg --audit) ]]; then
        say "Finishing an installation that was interrupted ..."
        run_logged install.log "${as_root[@]}" dpkg --configure -a || true
    fi
    if [[ $* == *:i386* ]] && ! { dpkg --print-architecture && dpkg --print-foreign-architectures; } | grep -qx i386; then
        say "Adding the i386 architecture, for 32-bit Wine."
        run_logged install.log "${as_root[@]}" dpkg --add-architecture i386 || return
    fi
    say "Reading the package lists ..."
    read_lists || say "Some package lists could not be read; going on with what is there."
    apt_is_prepared=yes
}

# become_root: sets as_root to what goes before a command.
become_root() {
    as_root=(env DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8)
    if ((EUID == 0)); then
        as_root+=(PATH="$PATH:/usr/local/sbin:/usr/sbin:/sbin") # dpkg wants them, and `su` leaves them out
        return
    fi
    if ! command -v sudo >/dev/null; then
        say "Installing needs root's rights, and there is no sudo."
        return 1
    fi
    say "Installing needs root's rights: using sudo."
    if ! sudo true; then # may ask for the password
        say "sudo gives this user none."
        return 1
    fi
    as_root=(sudo "${as_root[@]}")
}

# Unlike `apt-get install`, `update` does not wait for another apt to end: at a system's start one often runs by itself.
read_lists() {
    local tries
    for ((tries = 0; tries < 60; tries++)); do
        apt_get -o APT::Update::Error-Mode=any update && return
        tail -n 3 "$logs/install.log" | grep -q 'Unable to lock directory' || return
        ((tries)) || say "Waiting for another apt to end ..."
        sleep 5
    done
    return 1
}

by_hand() {
    printf 'By hand, as root: dpkg --add-architecture i386; apt-get update; apt-get install %s' "$*"
}

# Packages are never removed, nobody is asked, and the user's own configuration files stay.
apt_get() {
    run_logged install.log "${as_root[@]}" apt-get --yes --no-remove \
        -o DPkg::Lock::Timeout=300 -o Dpkg::Options::=--force-confdef -o Dpkg::Options::=--force-confold "$@"
}

install_plain() { apt_get install --no-install-recommends "$@"; }

# install_in_step PACKAGE...: in versions that both architectures have, where the newest ones differ.
install_in_step() {
    say "apt cannot install them as they stand: the mirror's amd64 and i386 lists may differ just now."
    say "Trying the release's own versions instead of the security suite's ..."
    install_release_versions "$@" && return
    say "That is not enough; looking for installed packages that must go back to the release's version ..."
    install_going_back "$@"
}

no_security_suite='Package: *
Pin: release l=Debian-Security
Pin-Priority: -1
'

install_release_versions() {
    write_pins "$no_security_suite"
    apt_get -o Dir::Etc::Preferences="$pins" install --no-install-recommends "$@"
}

# The last resort. apt takes back only what stands in the way, and each is told by name.
install_going_back() {
    local codename plan downgrades
    local -a arguments=(-o Dir::Etc::Preferences="$pins" --allow-downgrades install --no-install-recommends "$@")
    codename=$(source /etc/os-release && echo "${VERSION_CODENAME:-stable}")
    write_pins "$no_security_suite" "Package: *
Pin: release l=Debian, n=$codename
Pin-Priority: 1001
"
    plan=$(LC_ALL=C.UTF-8 apt-get --simulate --yes --no-remove "${arguments[@]}" 2>>"$logs/install.log") || return
    downgrades=$(sed -n '/DOWNGRADED:$/,/^[^ ]/s/^  *//p' <<<"$plan" | tr '\n' ' ')
    [[ -n $downgrades ]] || return # then versions were not what failed
    say "Going back to the release's version of: $downgrades"
    say "'apt-get upgrade' brings the newer ones again once the mirror has them for both architectures."
    apt_get "${arguments[@]}"
}

# apt reads one such file, so the user's own goes in first. Nothing in /etc changes.
pins=$own/apt-preferences
write_pins() {
    {
        [[ ! -e /etc/apt/preferences ]] || cat /etc/apt/preferences
        printf '\n%s' "$@"
    } >"$pins"
}

# fail_on_unknown PACKAGE...: ends the program where the lists have not even heard of one.
fail_on_unknown() {
    local package
    local -a unknown=()
    for package in "$@"; do
        apt-cache show "$package" >/dev/null 2>&1 || unknown+=("$package")
    done
    ((${#unknown[@]} == 0)) || fail_with_log install.log "Cannot install ${unknown[*]}: not in the package lists." \
        "Is the network up, and do apt's sources name this release's main section for amd64 and i386?"
}

# fail_on_download PACKAGE...: ends the program where the mirror did not answer; other versions would fare no better. A
# file that the mirror says it has not (404) is another matter.
fail_on_download() {
    local failures
    failures=$(grep '^E: Failed to fetch .*\.deb ' "$logs/install.log") || return 0
    ! grep -q ' 404 ' <<<"$failures" || return 0
    fail_with_log install.log "Cannot install $*: $(wc -l <<<"$failures") files could not be downloaded." \
        "Is the network up?"
}

# Ends the program with the packages that cannot be had even one by one.
explain_and_fail() {
    local package
    local -a culprits=()
    for package in "$@"; do
        apt-get --simulate --yes --no-remove -o Dir::Etc::Preferences="$pins" --allow-downgrades \
            install --no-install-recommends "$package" >/dev/null 2>&1 || culprits+=("$package")
    done
    ((${#culprits[@]})) || culprits=("$@")
    fail_with_log install.log "Cannot install ${culprits[*]}; apt's reasons are above. Is the network up?" \
        "While the mirror is changing, call again in some hours. $(by_hand "${culprits[@]}")."
}
