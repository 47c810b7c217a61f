# SPDX-FileCopyrightText: 2026 The QuillBay developers
# SPDX-License-Identifier: GPL-2.0-or-later

# shellcheck shell=bash
# Where the system is built and run: in the machine's own packages where they are new enough, else in a Debian root of
# its own, made once and kept in the cache. Needs messages.sh and REPO (the repository's folder).

CACHE=${QUILLBAY_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/quillbay}
DEFAULT_SUITE=trixie
OLDEST_HOST=30.2

# Set by prepare: the suite in use, and the folder of its root (empty: the machine itself).
SUITE=
ROOT=

as_root() {
	if ((EUID == 0)); then
		"$@"
	else
		sudo "$@"
	fi
}

# Lets sudo ask for a password where it can be seen, before a step hides the terminal.
authorize() {
	((EUID != 0)) || return 0
	command -v sudo >/dev/null || fail "installing packages needs root: run this as root or install sudo"
	sudo -v || fail "installing packages needs root, and sudo refused"
}

# The names in package lists, one a line.
package_names() {
	sed -e 's/#.*//' -e '/^[[:space:]]*$/d' "$@"
}

package_list() {
	printf '%s/scripts/packages/%s.txt' "$REPO" "$1"
}

list_hash() {
	package_names "$(package_list "$1")" | sort -u | sha256sum | cut -d' ' -f1
}

missing_packages() {
	local name
	for name in "$@"; do
		[[ $(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null) == installed ]] || printf '%s\n' "$name"
	done
}

# Once a run is enough.
MACHINE_UPDATED=
update_machine() {
	[[ -z $MACHINE_UPDATED ]] || return 0
	authorize
	step "$CACHE/logs/update.log" "Updating the machine's package lists" as_root apt-get update
	MACHINE_UPDATED=1
}

install_packages() {
	as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"
}

# Installs on this machine what of the named packages is missing.
need_packages() {
	local missing
	mapfile -t missing < <(missing_packages "$@")
	((${#missing[@]})) || return 0
	update_machine
	step "$CACHE/logs/install.log" "Installing ${missing[*]}" install_packages "${missing[@]}"
}

own_suite() {
	# shellcheck disable=SC1091
	(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-unknown}")
}

host_candidate() {
	apt-cache policy libobs-dev 2>/dev/null | awk '/Candidate:/ && $2 != "(none)" { print $2 }'
}

# A machine that never fetched its package lists knows no candidate.
know_candidates() {
	[[ -n $(host_candidate) ]] || update_machine
}

# Whether this machine's own packages have a new enough host with its development files.
machine_suffices() {
	local version
	version=$(host_candidate)
	[[ -n $version ]] && dpkg --compare-versions "$version" ge "$OLDEST_HOST"
}

# The archive that this machine itself installs Debian from.
debian_mirror() {
	# shellcheck disable=SC2016 # apt's own placeholders
	apt-get indextargets --format '$(ORIGIN)|$(LABEL)|$(COMPONENT)|$(CODENAME)|$(REPO_URI)' 'Created-By: Packages' |
		awk -F'|' '$1 == "Debian" && $2 == "Debian" && $3 == "main" && $4 !~ /-/ { print $5; exit }'
}

# How this machine's apt fetches (proxies, certificates, time-outs), as settings for the apt of a root.
apt_settings() {
	apt-config dump Acquire | grep -v -e '""' -e '^Acquire::IndexTargets'
	# The testing suite's index may be past its validity date on a mirror that lags.
	if [[ $1 == forky ]]; then
		printf 'Acquire::Check-Valid-Until "false";\n'
	fi
}

# make_root SUITE FOLDER: makes FOLDER whole, or fails.
# shellcheck disable=SC2016 # The hooks' $1 is theirs.
make_root() {
	local suite=$1 folder=$2 mirror names access=()
	mirror=$(debian_mirror)
	[[ -n $mirror ]] || fail "this machine's apt sources name no Debian archive to make a root from"
	apt_settings "$suite" >"$folder.apt.conf"
	if [[ -d /etc/apt/auth.conf.d ]]; then
		access=("--setup-hook=copy-in /etc/apt/auth.conf.d /etc/apt" --customize-hook='rm -rf "$1/etc/apt/auth.conf.d"')
	fi
	names=$(package_names "$(package_list run)" | paste -sd,)
	# Places that entering binds over must be there; documents are left out, which nobody reads here.
	# In namespaces of its own: ended half-way, it leaves no mount and no process behind.
	as_root unshare --mount --pid --fork --mount-proc --kill-child mmdebstrap --mode=root --variant=minbase --include="$names" \
		--aptopt="$folder.apt.conf" --aptopt='APT::Install-Recommends "false"' \
		--dpkgopt=force-unsafe-io --dpkgopt='path-exclude=/usr/share/doc/*' \
		--dpkgopt='path-exclude=/usr/share/man/*' --dpkgopt='path-exclude=/usr/share/locale/*' \
		"${access[@]}" \
		--customize-hook='touch "$1/etc/resolv.conf" "$1/.in-use"' \
		--customize-hook='mkdir -p "$1/etc/ssl/certs"' \
		"$suite" "$folder" "$mirror"
	rm -f "$folder.apt.conf"
}

# Runs a command as the administrator of a root, its files writable.
administer_root() {
	local folder=$1
	shift
	as_root bwrap --bind "$folder" / --dev /dev --proc /proc --perms 1777 --tmpfs /tmp \
		--ro-bind-try /etc/resolv.conf /etc/resolv.conf \
		--ro-bind-try /etc/apt/auth.conf.d /etc/apt/auth.conf.d --ro-bind-try /etc/ssl/certs /etc/ssl/certs \
		--die-with-parent --unshare-pid --cap-add ALL --setenv PATH /usr/sbin:/usr/bin:/sbin:/bin \
		--setenv DEBIAN_FRONTEND noninteractive "$@"
}

# Fetches a root's package lists, as this machine's apt is set up now.
update_root() {
	local suite=$1 folder=$2
	apt_settings "$suite" | as_root tee "$folder/etc/apt/apt.conf.d/99mmdebstrap" >/dev/null
	administer_root "$folder" apt-get update
}

# Adds the test packages to a root.
extend_root() {
	local folder=$1 names
	mapfile -t names < <(package_names "$(package_list test)")
	administer_root "$folder" apt-get install -y --no-install-recommends "${names[@]}"
	administer_root "$folder" apt-get clean
}

remove_root() {
	as_root rm -rf --one-file-system "$1" || say "$1 could not be removed: remove it by hand"
}

# A root that a running host still uses is left for a later call.
remove_unused_roots() {
	local old
	for old in "$CACHE/root-$1".old.*; do
		[[ -d $old ]] || continue
		! flock --nonblock --exclusive "$old/.in-use" true || remove_root "$old"
	done
	for old in "$CACHE/root-$1".new.*; do
		[[ ! -d $old ]] || remove_root "$old"
	done
	rm -f "$CACHE/root-$1".new.*.apt.conf
}

# The stamp beside a root holds "LAYER HASH" lines: what it was made from.
has_layer() {
	grep -qsxF "$2 $(list_hash "$2")" "$CACHE/root-$1.stamp" && [[ -d $CACHE/root-$1 ]]
}

# make_missing_layers SUITE LAYER...: runs under the suite's lock.
make_missing_layers() {
	local suite=$1 root=$CACHE/root-$1 logs=$CACHE/logs new
	shift
	if ! has_layer "$suite" run; then
		need_packages mmdebstrap bubblewrap debian-archive-keyring
		authorize
		rm -f "$root.stamp"
		remove_unused_roots "$suite"
		new=$root.new.$$
		step "$logs/root-$suite.log" "Making the Debian $suite root (about two minutes, once)" make_root "$suite" "$new"
		[[ ! -d $root ]] || as_root mv "$root" "$root.old.$$"
		as_root mv "$new" "$root"
		printf 'run %s\n' "$(list_hash run)" >"$root.stamp"
		remove_unused_roots "$suite"
	fi
	if [[ " $* " == *" test "* ]] && ! has_layer "$suite" test; then
		authorize
		step "$logs/root-$suite-update.log" "Updating the $suite root's package lists" update_root "$suite" "$root"
		# Should this be interrupted, the root is made anew.
		rm -f "$root.stamp"
		step "$logs/root-$suite-test.log" "Adding the test packages to the $suite root" extend_root "$root"
		printf 'run %s\ntest %s\n' "$(list_hash run)" "$(list_hash test)" >"$root.stamp"
	fi
}

has_layers() {
	local suite=$1 layer
	shift
	for layer in "$@"; do
		has_layer "$suite" "$layer" || return 1
	done
}

# prepare SUITE LAYER...: makes the place to build and run in ready, with the packages of the named lists (run, test),
# and sets SUITE and ROOT. An empty SUITE takes this machine if it suffices, else the default suite.
prepare() {
	local wanted=$1 lock names
	shift
	mkdir -p "$CACHE/logs"
	SUITE=${wanted:-$DEFAULT_SUITE}
	ROOT=$CACHE/root-$SUITE
	! has_layers "$SUITE" "$@" || return 0
	if [[ -z $wanted || $wanted == "$(own_suite)" ]]; then
		know_candidates
		if machine_suffices; then
			SUITE=$(own_suite)
			ROOT=
			mapfile -t names < <(for layer in "$@"; do package_names "$(package_list "$layer")"; done)
			need_packages "${names[@]}"
			return
		fi
	fi
	[[ $SUITE == trixie || $SUITE == forky ]] || fail "no suite $SUITE: there are trixie and forky"
	exec {lock}>"$CACHE/root-$SUITE.lock"
	flock -n "$lock" || say "Waiting for another run that makes the $SUITE root"
	flock "$lock"
	make_missing_layers "$SUITE" "$@"
	exec {lock}>&-
}

# Folders elsewhere that entered commands need, at their own paths.
ENTER_BINDS=()

# Sets ENTER to the words that go before a command to run it where prepare has made things ready.
compose_enter() {
	local home=$CACHE/home binds folder
	# The runtime folder must be the user's alone.
	mkdir -p "$home/run"
	chmod 700 "$home/run"
	ENTER=(env -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME -u TMPDIR)
	[[ -z $ROOT ]] || ENTER+=(-u WAYLAND_DISPLAY PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin)
	ENTER+=(HOME="$home" XDG_RUNTIME_DIR="$home/run" LANG=C.UTF-8 LC_ALL=C.UTF-8)
	[[ -n $ROOT ]] || return 0
	binds=()
	for folder in "$REPO" "$CACHE" "${ENTER_BINDS[@]}"; do
		binds+=(--bind "$folder" "$folder")
	done
	binds+=(--ro-bind-try /etc/resolv.conf /etc/resolv.conf --ro-bind-try /etc/ssl/certs /etc/ssl/certs)
	binds+=(--ro-bind-try "$HOME/.npmrc" "$home/.npmrc")
	if [[ -n ${DISPLAY:-} ]]; then
		binds+=(--ro-bind-try /tmp/.X11-unix /tmp/.X11-unix --dev-bind-try /dev/dri /dev/dri)
		[[ -z ${XAUTHORITY:-} ]] || binds+=(--ro-bind-try "$XAUTHORITY" "$XAUTHORITY")
	fi
	# The shared lock tells a later making that this root is in use.
	ENTER+=(flock --no-fork --shared "$ROOT/.in-use" bwrap)
	# A read-only view of the root: nothing that runs inside can spoil it.
	ENTER+=(--tmpfs / --ro-bind "$ROOT/usr" /usr --ro-bind "$ROOT/etc" /etc --ro-bind "$ROOT/var" /var)
	ENTER+=(--symlink usr/bin /bin --symlink usr/sbin /sbin --symlink usr/lib /lib --symlink usr/lib64 /lib64)
	ENTER+=(--tmpfs /run --perms 1777 --tmpfs /tmp --perms 1777 --tmpfs /var/tmp --dev /dev --proc /proc "${binds[@]}")
	# A current folder that is not there inside is left for the repository.
	case $PWD/ in
		"$REPO"/* | "$CACHE"/*) folder=$PWD ;;
		*) folder=$REPO ;;
	esac
	ENTER+=(--chdir "$folder" --die-with-parent --unshare-pid)
}

# enter COMMAND...: runs the command there, in the current folder, with a home of its own.
enter() {
	local ENTER
	compose_enter
	"${ENTER[@]}" "$@"
}

# The same in place of this script, so that a signal to it reaches the command.
enter_for_good() {
	local ENTER
	compose_enter
	exec "${ENTER[@]}" "$@"
}
