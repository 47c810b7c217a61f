# SPDX-FileCopyrightText: 2026 The QuillBay developers
# SPDX-License-Identifier: GPL-2.0-or-later

# shellcheck shell=bash
# The home of a host of our own: its configuration, the demonstration, our module. Needs REPO.

# A home of ours bears this file: no other folder's configuration is ever replaced or started.
HOME_MARK=.quillbay-home

host_config() {
	printf '%s/.config/obs-studio' "$1"
}

# A port that nothing listens on now.
free_port() {
	local port
	while :; do
		port=$((20000 + RANDOM % 30000))
		(: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null || break
	done
	printf '%s' "$port"
}

# Whether a folder may be used as the home of a host of ours: a new one, an empty one, or one laid before.
may_be_home() {
	[[ ! -e $1 || -e $1/$HOME_MARK ]] || [[ -d $1 && -z $(ls -A "$1") ]]
}

# lay_home DIR PORT PASSWORD: lays DIR anew as the home of a host that starts unattended, with obs-websocket listening.
lay_home() {
	local home=$1 port=$2 password=$3 config
	config=$(host_config "$home")
	mkdir -p "$home"
	touch "$home/$HOME_MARK"
	rm -rf "$config"
	mkdir -p "$config/plugin_config/obs-websocket"
	cp "$REPO/scripts/lib/home/global.ini" "$config/global.ini"
	cat >"$config/plugin_config/obs-websocket/config.json" <<-JSON
		{"alerts_enabled": false, "auth_required": true, "first_load": false, "server_enabled": true,
		 "server_password": "$password", "server_port": $port}
	JSON
	chmod 600 "$config/plugin_config/obs-websocket/config.json"
}

# Adds the three scenes with their notes, and a window that shows the dock, to a home just laid.
lay_demonstration() {
	local config
	config=$(host_config "$1")
	cp -r "$REPO/scripts/demo/obs-studio/." "$config"
	cat "$REPO/scripts/demo/window.ini" >>"$config/global.ini"
}

# install_module HOME BUILD: the module as a user's plug-in, always the newest build.
install_module() {
	local plugin
	plugin=$(host_config "$1")/plugins/quillbay
	mkdir -p "$plugin/bin/64bit"
	ln -sfn "$2/src/quillbay.so" "$plugin/bin/64bit/quillbay.so"
	ln -sfn "$REPO/data" "$plugin/data"
}
