# What the scripts share: words to the user, the system's packages, the i386 root. Read with "." by plain sh.

cache=${XDG_CACHE_HOME:-$HOME/.cache}/common

say() { printf '%s\n' "$*"; }
step() { printf '== %s\n' "$*"; }
complain() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }
fail()
{
    complain "$@"
    exit 1
}

# as_root COMMAND...: runs it as root, by sudo where that asks for no password
as_root()
{
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
        sudo -n "$@"
    else
        return 1
    fi
}

# quietly LOG COMMAND...: keeps its output in a file and shows the end of it only when it fails
quietly()
{
    quiet_log=$1
    shift
    "$@" >"$quiet_log" 2>&1 </dev/null && return
    quiet_code=$?
    tail -n 60 "$quiet_log"
    return $quiet_code
}

# need PACKAGE...: installs those of the system's packages that are missing; at once when none is
need()
{
    command -v dpkg-query >/dev/null || {
        complain "this system has no dpkg: make sure that it has what these packages hold: $*"
        return 0
    }
    missing=
    for package; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0

    step "installing$missing"
    as_root true || {
        complain "may not install packages: run this as root, or first run: apt-get install$missing"
        return 1
    }
    need_log=$(mktemp)
    need_code=0
    # shellcheck disable=SC2086 # the packages are separate words
    install_packages $missing >"$need_log" 2>&1 ||
        { as_root apt-get update >"$need_log" 2>&1 && install_packages $missing >>"$need_log" 2>&1; } ||
        { tail -n 20 "$need_log"; complain "could not install$missing"; need_code=1; }
    rm -f "$need_log"
    return $need_code
}

install_packages()
{
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends -o DPkg::Lock::Timeout=600 "$@" </dev/null
}

# package_source: sets suite and mirror to where this machine takes its own packages from
package_source()
{
    suite=$(. /etc/os-release && say "$VERSION_CODENAME")
    mirror=$(apt-get indextargets --format '$(CODENAME) $(REPO_URI)' 'Created-By: Packages' 2>/dev/null |
        awk -v suite="$suite" '$1 == suite { print $2; exit }')
    [ -n "$mirror" ] || { complain "the package sources of this machine name no mirror of $suite"; return 1; }
}

# windows_x86_root: where the i386 root stands that runs 32-bit Windows programs
windows_x86_root() { say "$cache/windows-x86-root"; }

# make_windows_x86_root: makes the i386 root with 32-bit Wine
make_windows_x86_root()
{
    root=$(windows_x86_root)
    [ ! -d "$root" ] || return 0
    [ "$(id -u)" = 0 ] || { complain "only root can make the i386 root for 32-bit Windows programs"; return 1; }
    need debootstrap || return 1

    package_source || return 1

    step "making the i386 root for 32-bit Windows programs, once (about a minute, 1.1 GB)"
    mkdir -p "$cache"
    part=$(mktemp -d "$root.XXXXXX")
    chmod 755 "$part"
    if quietly "$part.log" debootstrap --variant=minbase --arch=i386 --include=wine32,wine,libwine \
        "$suite" "$part" "$mirror"; then
        rm -rf "$part"/var/cache/apt/archives/*.deb
        # the name says that it is whole; whoever was first keeps it
        [ -d "$root" ] || mv "$part" "$root"
    fi
    rm -rf "$part" "$part.log"
    [ -d "$root" ]
}

# clean_root: where the root stands that has nothing of ours, to install packages in
clean_root() { say "$cache/clean-root"; }

# make_clean_root PACKAGE...: makes that root, with these packages of the system beside the least that a system has
make_clean_root()
{
    root=$(clean_root)
    include=$(printf '%s\n' "$@" | sort -u | tr '\n' ' ')
    [ "$(cat "$root/made-with" 2>/dev/null)" != "$include" ] || return 0
    [ "$(id -u)" = 0 ] || { complain "only root can make a clean root to install packages in"; return 1; }
    need mmdebstrap && package_source || return 1

    step "making a clean root to install packages in, once (less than a minute, 800 MB)"
    mkdir -p "$cache"
    part=$(mktemp -d "$root.XXXXXX")
    if quietly "$part.log" mmdebstrap --mode=root --variant=minbase "--include=$include" "$suite" "$part" "$mirror"; then
        say "$include" >"$part/made-with"
        rm -rf "$root"
        [ -d "$root" ] || mv "$part" "$root"
    fi
    rm -rf "$part" "$part.log"
    [ "$(cat "$root/made-with" 2>/dev/null)" = "$include" ]
}
