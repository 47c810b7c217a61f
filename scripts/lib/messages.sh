# SPDX-FileCopyrightText: 2026 The QuillBay developers
# SPDX-License-Identifier: GPL-2.0-or-later

# shellcheck shell=bash
# Messages to whoever runs a script, and long steps with their output in a log.

say() {
	printf '%s\n' "$*" >&2
}

fail() {
	printf 'error: %s\n' "$*" >&2
	exit 1
}

# need_value OPTION [VALUE...]: an option that wants a value has one.
need_value() {
	[[ -n ${2-} ]] || fail "$1 needs a value: see --help"
}

# Prints how long a step has been running until it is ended: on a terminal every second on one line, with the log's
# last line, elsewhere a line every half minute.
show_progress() {
	local title=$1 log=$2 began=$SECONDS pause=30 never
	[[ ! -t 2 ]] || pause=1
	# A builtin that waits, so that no sleeping child is left when this is ended.
	exec {never}<> <(:)
	# A script that was killed outright must not leave this behind.
	while kill -0 $$ 2>/dev/null; do
		[[ ! -t 2 ]] || printf '\r\033[K%s ... %d s  %.60s' "$title" $((SECONDS - began)) \
			"$(tail -n 1 "$log" 2>/dev/null | tr -d '\r')" >&2
		read -r -t $pause -u "$never" || true
		[[ -t 2 ]] || say "$title ... $((SECONDS - began)) s"
	done
}

# step LOG TITLE COMMAND...: runs the command with all its output in LOG; a failure ends the script with the title, the
# last lines and the log's name. The command may be a function, which then runs with errexit on: so never call step
# itself as a condition.
step() {
	local log=$1 title=$2 began=$SECONDS ticker status
	shift 2
	mkdir -p "$(dirname "$log")"
	[[ -t 2 ]] || say "$title ..."
	show_progress "$title" "$log" >/dev/null &
	ticker=$!
	set +e
	(
		set -e
		"$@"
	) >"$log" 2>&1 </dev/null
	status=$?
	kill "$ticker" 2>/dev/null
	wait "$ticker" 2>/dev/null
	set -e
	[[ ! -t 2 ]] || printf '\r\033[K' >&2
	if ((status != 0)); then
		say "--- the last lines of $log"
		tail -n 25 "$log" >&2
		fail "$title failed (status $status); its log is $log"
	fi
	say "$title: done in $((SECONDS - began)) s"
}
