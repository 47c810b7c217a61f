# SPDX-FileCopyrightText: 2026 The QuillBay developers
# SPDX-License-Identifier: GPL-2.0-or-later

# shellcheck shell=bash
# The stages of the tests. Each adds what passed and failed to PASSED and FAILED, shows what failed, and keeps its whole
# output in the log folder. Needs messages.sh, root.sh and build.sh, and prepare called.

PASSED=0
FAILED=0

# How long a stage as a whole, one unit test program, and one end-to-end test file may take (seconds).
STAGE_LIMIT=2400
PROGRAM_LIMIT=300
E2E_FILE_LIMIT=900

stage_log() {
	printf '%s/%s.log' "$(log_folder)" "$1"
}

# run_stage NAME COMMAND...: the command's output goes to the stage's log; its status is returned.
run_stage() {
	local log status=0
	log=$(stage_log "$1")
	mkdir -p "$(dirname "$log")"
	shift
	enter timeout --kill-after=20 "$STAGE_LIMIT" "$@" >"$log" 2>&1 </dev/null || status=$?
	((status != 124 && status != 137)) || printf '\nThe stage was ended after %d s\n' "$STAGE_LIMIT" >>"$log"
	return "$status"
}

# count NAME PASSED FAILED
count() {
	PASSED=$((PASSED + $2))
	FAILED=$((FAILED + $3))
	say "$1: $2 passed, $3 failed"
}

stage_format() {
	local files
	mapfile -t files < <(cd "$REPO" && find src tests bench fuzz -name node_modules -prune -o \
		'(' -name '*.cpp' -o -name '*.hpp' -o -name '*.c' -o -name '*.h' ')' -print | sort)
	if run_stage format clang-format-22 --dry-run -Werror "${files[@]}"; then
		count format 1 0
	else
		say "Files that clang-format would change (scripts/enter clang-format-22 -i FILE does):"
		sed -n 's/^\([^:]*\):[0-9].* error: .*/  \1/p' "$(stage_log format)" | sort -u >&2
		tail -n 5 "$(stage_log format)" >&2
		count format 0 1
	fi
}

# Turns the output of `ctest --verbose` into "passed failed" and, on stderr, what failed. A line of a test begins with
# its number. Qt Test's own two functions around each program are no tests; a program that failed without a failed
# function (a crash, a time-out, a leak) counts as one failure.
count_qt_tests() {
	awk '
		function report(number) {
			print "--- " name[number] > "/dev/stderr"
			if (number in lines)
				printf "%s", lines[number] > "/dev/stderr"
			print "The last function that passed: " last[number] > "/dev/stderr"
		}
		match($0, /^[0-9]+: /) {
			number = substr($0, 1, RLENGTH - 2)
			text = substr($0, RLENGTH + 1)
			if (text !~ /^(PASS +|debug|info): /)
				lines[number] = lines[number] text "\n"
			if (text ~ /^PASS   :/ && text !~ /::(init|cleanup)TestCase\(\)$/)
				passes[number]++
			if (text ~ /^PASS   :/)
				last[number] = substr(text, 10)
			else if (text ~ /^(FAIL!|XPASS) +:/)
				failures[number]++
			next
		}
		/^ *[0-9]+\/[0-9]+ Test +#[0-9]+:/ {
			match($0, /#[0-9]+:/)
			number = substr($0, RSTART + 1, RLENGTH - 2)
			name[number] = substr($0, RSTART + RLENGTH + 1)
			if (!($0 ~ / Passed /) && !failures[number])
				failures[number]++
			ended[number] = 1
		}
		END {
			for (number in ended) {
				passed += passes[number]
				failed += failures[number]
				if (failures[number])
					report(number)
			}
			print passed + 0, failed + 0
		}' "$1"
}

# unit_stage STAGE PRESET PROGRAM...: the Qt Test programs of a preset; none named: all.
unit_stage() {
	local stage=$1 preset=$2 pattern status=0 passed failed
	shift 2
	build "$preset"
	pattern=$(IFS='|' && printf '%s' "$*")
	run_stage "$stage" env UBSAN_OPTIONS=print_stacktrace=1 "$REPO/scripts/lib/with-display" \
		ctest --test-dir "$(build_folder "$preset")" --verbose --label-regex '^unit$' --tests-regex "^(${pattern:-.*})\$" \
		--timeout "$PROGRAM_LIMIT" || status=$?
	read -r passed failed < <(count_qt_tests "$(stage_log "$stage")")
	if ((status != 0 && failed == 0)) || ((passed + failed == 0)); then
		tail -n 25 "$(stage_log "$stage")" >&2
		failed=1
	fi
	count "$stage" "$passed" "$failed"
}

stage_unit() {
	unit_stage unit dev "$@"
}

stage_sanitize() {
	unit_stage sanitize asan "$@"
}

e2e_files() {
	(cd "$REPO/tests/e2e" && printf '%s\n' *.test.mjs)
}

# install_packages_of NAME: the packages of a tests' folder, fetched again only when their list changes.
install_packages_of() {
	local folder=$REPO/tests/$1
	[[ -e $folder/package-lock.json ]] || return 0
	[[ ! $folder/node_modules/.package-lock.json -nt $folder/package-lock.json ]] || return 0
	step "$(log_folder)/npm.log" "Installing the packages of the $1 tests" enter npm --prefix "$folder" ci
}

# What failed stands at the end; without that part, all there is.
show_node_failures() {
	if grep -q 'failing tests:' "$1"; then
		sed -n '/failing tests:/,$p' "$1"
	else
		tail -n 100 "$1"
	fi
}

# node_stage STAGE FILE...: files of the tests in Node.js, one after another, counted.
node_stage() {
	local stage=$1 results status=0 passed failed
	shift
	results=$(log_folder)/$stage.tap
	rm -f "$results"
	run_stage "$stage" env --chdir="$REPO/tests/$stage" QUILLBAY_BUILD="$(build_folder dev)" \
		QUILLBAY_LOGS="$(log_folder)" node --test --test-concurrency=1 --test-timeout=$((E2E_FILE_LIMIT * 1000)) \
		--test-reporter=spec --test-reporter-destination=stdout \
		--test-reporter=tap --test-reporter-destination="$results" "$@" || status=$?
	read -r passed failed < <(awk '/^# pass / { p = $3 } /^# (fail|cancelled) / { f += $3 } END { print p + 0, f + 0 }' \
		"$results" 2>/dev/null || echo 0 0)
	if ((status != 0 && failed == 0)) || ((passed + failed == 0)); then failed=$((failed + 1)); fi
	((failed == 0)) || show_node_failures "$(stage_log "$stage")" >&2
	count "$stage" "$passed" "$failed"
}

# The end-to-end tests named (files without .test.mjs), or all: in the real host.
stage_e2e() {
	local files=() name
	build dev
	install_packages_of e2e
	for name in "$@"; do files+=("$name.test.mjs"); done
	((${#files[@]})) || mapfile -t files < <(e2e_files)
	node_stage e2e "${files[@]}"
}

# web_check NAME COMMAND...: one check of the web client's sources.
web_check() {
	local name=$1
	shift
	if run_stage "web-$name" env --chdir="$REPO" "$@"; then
		count "web/$name" 1 0
	else
		tail -n 60 "$(stage_log "web-$name")" >&2
		count "web/$name" 0 1
	fi
}

# The web client: its style, its types, and its modules in the real browser; or the tests named (without .test.mjs).
stage_web() {
	local files=() name tools=tests/web/node_modules/.bin
	install_packages_of web
	for name in "$@"; do files+=("$name.test.mjs"); done
	if ((${#files[@]} == 0)); then
		web_check lint "$tools/eslint" --config tests/web/eslint.config.mjs data/remote tests/web bench/web
		web_check format "$tools/prettier" --config tests/web/.prettierrc.json --check \
			'data/remote/**/*.mjs' 'tests/web/*.mjs' 'bench/web/*.mjs'
		web_check types "$tools/tsc" --project tests/web
		mapfile -t files < <(cd "$REPO/tests/web" && printf '%s\n' *.test.mjs)
	fi
	node_stage web "${files[@]}"
}
