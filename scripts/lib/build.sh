# SPDX-FileCopyrightText: 2026 The QuillBay developers
# SPDX-License-Identifier: GPL-2.0-or-later

# shellcheck shell=bash
# Building with CMake's presets. Needs messages.sh and root.sh, and prepare called.

# Where a preset's build lies: one folder for each suite, whose compilers and libraries differ.
build_folder() {
	printf '%s/build/%s-%s' "$REPO" "$SUITE" "$1"
}

log_folder() {
	printf '%s/build/%s-logs' "$REPO" "$SUITE"
}

# Two builds of one folder must not run at the same time.
build_alone() {
	local folder=$1
	shift
	(cd "$REPO" && enter flock "$folder/.lock" "$@")
}

# build PRESET [TARGET...]
build() {
	local preset=$1 folder targets=()
	folder=$(build_folder "$preset")
	shift
	mkdir -p "$folder"
	# Later changes of CMake's own files are seen by the build; those of the presets are not.
	if [[ ! $folder/build.ninja -nt $REPO/CMakePresets.json ]]; then
		step "$(log_folder)/configure-$preset.log" "Configuring $preset" \
			build_alone "$folder" cmake --preset "$preset" -B "$folder"
	fi
	(($# == 0)) || targets=(--target "$@")
	step "$(log_folder)/build-$preset.log" "Building $preset" \
		build_alone "$folder" cmake --build "$folder" "${targets[@]}"
}
