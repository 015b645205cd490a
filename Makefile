# Start with "make demo", "make test" or "make lint". The first run sets up .venv and builds the extension; later runs
# redo only what has changed. Requires a C++20 compiler, CPython 3.12, and network access for pip.
#   make test ARGS="-k planning"                   arguments for pytest
#   make PYTHON=/path/to/python3.12 CXX=clang++    if they are not found automatically (first run only)

.DEFAULT_GOAL := help

VENV  := .venv
PY    := $(VENV)/bin/python
# Not build/, which is for the user's own "cmake -S . -B build" and which "make clean" leaves alone.
BUILD := .build/dev

ENVIRONMENT      := $(VENV)/.environment
LINT_ENVIRONMENT := $(VENV)/.lint-environment
INSTALLED        := $(BUILD)/.installed

# Includes folders, whose modification time changes when a file is added or removed.
NATIVE_SOURCES := $(shell find native tests/native skills) cmake/EmbedDocuments.cmake CMakeLists.txt
# The native sources to format and check.
CPP   := $(shell find native tests/native hostile -name '*.cpp' -o -name '*.hpp' -o -name '*.c')
SHELL_SCRIPTS := $(wildcard tools/*.sh) .ci/run

PIP := -m pip --disable-pip-version-check
PIP_INSTALL := $(PY) $(PIP) install -qq --no-deps
# Prefer the pinned cmake and ninja to the system's.
WITH_VENV := PATH="$(CURDIR)/$(VENV)/bin:$$PATH"

.PHONY: help
help:
	@echo "make demo       install the skills for four agents into an empty repository and show the files written"
	@echo "make test       run the native tests and the Python tests"
	@echo "make hostile    test the module under faults: memory, system calls, signals, kills, replaced names; more: soak"
	@echo "make lint       check style, types and the native code"
	@echo "make docs       regenerate docs/cli.md, its pictures and the README's table from real runs"
	@echo "make format     apply the formatters and the safe fixes"
	@echo "make hooks      make git run the quick checks at every commit"
	@echo "make packages   build and check the source distribution and the wheels; one: sdist, wheel, linux-wheel, mac-wheel"
	@echo "make clients    test the wheel with third-party tools and libraries"
	@echo "make bench      time the extension against plain Python, Cython, mypyc and the bare system calls"
	@echo "make bench-counts  count its system calls and instructions, and check them against the recorded ceilings"
	@echo "make fuzz       fuzz the core under sanitizers, and compare its results with simple definitions"
	@echo "make embedding  build only the extension and test a host that vendors it"
	@echo "make clean      remove everything that make has created"

.PHONY: docs
docs: $(INSTALLED)
	@$(PY) tools/document_command_line.py

.PHONY: demo
demo: $(INSTALLED)
	@tools/demo.sh

.PHONY: test test-native test-python
test: test-native test-python
test-native: $(INSTALLED)
	@$(VENV)/bin/ctest --test-dir $(BUILD) --output-on-failure --no-tests=error
test-python: $(INSTALLED)
	@PYTHONDEVMODE=1 $(PY) -m pytest -p xdist -n auto $(ARGS)

# The hostile tests, described in docs/reliability.md. One of them takes longer than pytest's timeout.
HOSTILE := .build/hostile
.PHONY: hostile hostile-tests soak
hostile: hostile-tests
	@$(MAKE) --no-print-directory fuzz sanitize
hostile-tests: $(INSTALLED) $(HOSTILE)/shim.so
	@TMPDIR=$$(test -w /dev/shm && echo /dev/shm || echo /tmp) LD_PRELOAD=$(CURDIR)/$(HOSTILE)/shim.so \
	  $(PY) -m pytest hostile -o faulthandler_timeout=0 $(ARGS)
soak:
	@HOSTILE_EFFORT=$${HOSTILE_EFFORT:-50} $(MAKE) --no-print-directory hostile-tests
	@$(MAKE) --no-print-directory fuzz-planning FUZZ=-runs=1000000
	@$(MAKE) --no-print-directory -j2 fuzz-stamps fuzz-versions fuzz-paths FUZZ=-runs=100000000
$(HOSTILE)/%.so: hostile/%.c
	@mkdir -p $(@D) && $(CC) -std=gnu17 -O2 -Wall -Wextra -Werror -fPIC -shared $< -o $@ -ldl

.PHONY: lint style style-python style-native style-other types tidy docs-fresh
lint: style types tidy docs-fresh

style: style-python style-native style-other
style-python: $(LINT_ENVIRONMENT)
	@$(VENV)/bin/ruff format --check --quiet
	@$(VENV)/bin/ruff check --quiet
style-native: $(LINT_ENVIRONMENT)
	@$(VENV)/bin/clang-format --dry-run -Werror $(CPP)
style-other: $(LINT_ENVIRONMENT)
	@$(VENV)/bin/shellcheck $(SHELL_SCRIPTS)
	@git diff --check $$(git hash-object -t tree /dev/null)  # trailing white space in any file

types: $(LINT_ENVIRONMENT) $(INSTALLED)
	@$(VENV)/bin/mypy
	@$(VENV)/bin/stubtest --mypy-config-file pyproject.toml muvad_tarnel.setup.skill

# clang-tidy takes seconds per source, so check one again only if it, a header or its compile options change.
TIDY := $(patsubst %.cpp,.build/tidy/%.checked,$(shell find native -name '*.cpp'))
tidy: $(LINT_ENVIRONMENT) $(INSTALLED)
	@$(MAKE) --no-print-directory -j2 $(TIDY)
.build/tidy/%.checked: %.cpp $(filter %.hpp,$(CPP)) .clang-tidy CMakeLists.txt $(LINT_ENVIRONMENT) | $(INSTALLED)
	@echo "clang-tidy $<"
	@$(VENV)/bin/clang-tidy -p $(BUILD) --quiet $<
	@mkdir -p $(@D) && touch $@

# Check that the output of "make docs" is up to date.
docs-fresh: $(INSTALLED)
	@$(PY) tools/document_command_line.py --check

.PHONY: format
format: $(LINT_ENVIRONMENT)
	@$(VENV)/bin/ruff check --fix --quiet
	@$(VENV)/bin/ruff format --quiet
	@$(VENV)/bin/clang-format -i $(CPP)

.PHONY: hooks
hooks: $(LINT_ENVIRONMENT)
	@$(VENV)/bin/pre-commit install

# Packages go to .build/packages/<target>, and each is checked as soon as it is built. Their tools, including zig, have
# a separate environment. The folder of the zig executable is put on PATH for CMake.
PACKAGES     := .build/packages
PACKAGING    := .build/packaging
PACKAGING_PY := $(PACKAGING)/bin/python
ZIG_FOLDER    = $$($(PACKAGING_PY) -c 'import os, ziglang; print(os.path.dirname(ziglang.__file__))')
WITH_PACKAGING := PATH="$(CURDIR)/$(PACKAGING)/bin:$(ZIG_FOLDER):$$PATH"

# $(call build,target,arguments,environment): show the output of a build only if it fails.
define build
@echo "Building $(1)"
@rm -rf $(PACKAGES)/$(1) && mkdir -p $(PACKAGES)/$(1)
@$(WITH_PACKAGING) $(3) $(PACKAGING_PY) -m build --no-isolation --outdir $(PACKAGES)/$(1) $(2) \
  >$(PACKAGES)/$(1).log 2>&1 || { cat $(PACKAGES)/$(1).log; exit 1; }
endef

check_wheel = $(PACKAGING_PY) tools/check_contents.py $(1) && $(PACKAGING)/bin/check-wheel-contents $(1)

.PHONY: packages sdist wheel linux-wheel mac-wheel workflow
packages: sdist wheel linux-wheel mac-wheel workflow

sdist: $(PACKAGING)/.environment
	$(call build,sdist,--sdist)
	@$(PACKAGING_PY) tools/check_contents.py $(PACKAGES)/sdist/*.tar.gz

# As pip builds it where no wheel is available: from the source distribution, with this machine's compiler.
wheel: sdist
	@echo "Building wheel"
	@rm -rf $(PACKAGES)/wheel
	@$(PACKAGING_PY) $(PIP) wheel -qq --no-deps --wheel-dir $(PACKAGES)/wheel \
	  $(PACKAGES)/sdist/*.tar.gz
	@$(call check_wheel,$(PACKAGES)/wheel/*.whl)

linux-wheel: $(PACKAGING)/.environment
	$(call build,linux-wheel,--wheel -Cbuild-dir=.build/linux-wheel \
	  -Ccmake.toolchain-file=cmake/cross/manylinux.cmake)
	@$(WITH_PACKAGING) $(PACKAGING)/bin/auditwheel repair --wheel-dir $(PACKAGES)/linux-wheel/audited \
	  $(PACKAGES)/linux-wheel/*.whl 2>$(PACKAGES)/audit.log || { cat $(PACKAGES)/audit.log; exit 1; }
	@$(call check_wheel,$(PACKAGES)/linux-wheel/audited/*-cp312-cp312-*manylinux_2_17_*.whl)
	@tools/test_wheel.sh $(PACKAGES)/linux-wheel/audited/*.whl

# _PYTHON_HOST_PLATFORM names the wheel's platform. This machine's Python doesn't know the suffix of the extension.
mac-wheel: $(PACKAGING)/.environment
	$(call build,mac-wheel,--wheel -Cbuild-dir=.build/mac-wheel \
	  -Ccmake.toolchain-file=cmake/cross/macos-arm64.cmake -Ccmake.define.TARNEL_SOABI=cpython-312-darwin,\
	  _PYTHON_HOST_PLATFORM=macosx-11.0-arm64)
	@$(call check_wheel,$(PACKAGES)/mac-wheel/*-cp312-cp312-macosx_11_0_arm64.whl)
	@$(PACKAGING_PY) tools/check_macho.py $(PACKAGES)/mac-wheel/*.whl

# The workflow for hosted machines, which build for the other platforms.
workflow: $(PACKAGING)/.environment
	@tools/check_workflow.sh

# Test the wheel with third-party programs and libraries. They get the wheel and a folder with its dependencies.
CLIENTS    := .build/clients
CLIENTS_PY := $(CLIENTS)/bin/python
WHEELHOUSE := $(PACKAGES)/wheelhouse
.PHONY: clients
clients: wheel $(CLIENTS)/.environment
	@rm -rf $(WHEELHOUSE)
	@$(CLIENTS_PY) $(PIP) download -qq --dest $(WHEELHOUSE) pip $(PACKAGES)/wheel/*.whl
	@$(CLIENTS_PY) $(PIP) uninstall -qq --yes muvad-tarnel
	@$(CLIENTS_PY) $(PIP) install -qq --no-index --find-links $(WHEELHOUSE) \
	  $(PACKAGES)/wheel/*.whl
	@TARNEL_WHEELHOUSE=$(CURDIR)/$(WHEELHOUSE) $(CLIENTS_PY) -X dev -m pytest tests/clients $(ARGS) \
	  --override-ini="addopts=-ra --disable-plugin-autoload -p pyfakefs.pytest_plugin"

# The benchmark: the current build of the extension, compared with the same module from other compilers.
BENCH    := .build/bench
BENCH_PY := PYTHONPATH=src $(BENCH)/bin/python
PEERS    := .build/peers
.PHONY: bench bench-counts bench-build
bench: bench-build
	@$(BENCH_PY) bench/compare.py $(PEERS) $(ARGS)
bench-counts: bench-build $(PEERS)/probe.so
	@$(BENCH_PY) bench/count_calls.py $(PEERS) $(ARGS)
$(PEERS)/probe.so: bench/probe.c $(PEERS)/.built
	@$(CC) -O2 -fPIC -shared $< -o $@
bench-build: $(PEERS)/.built $(INSTALLED)
	@mkdir -p $(PEERS)/extension && cp $(BUILD)/skill.*.so $(PEERS)/extension/
$(PEERS)/.built: $(BENCH)/.environment bench/peers.py bench/plain_skill.py bench/floor.c $(wildcard skills/*/SKILL.md)
	@echo "Building the peers of the benchmark"
	@$(BENCH_PY) bench/peers.py $(PEERS)
	@touch $@

# libFuzzer requires clang. Only the core is built with sanitizers and coverage guidance: with them, the definitions it
# is compared with would take most of the time. FUZZ="-runs=1000000" limits the inputs instead of the seconds.
FUZZ_SECONDS ?= 60
FUZZ         ?= -max_total_time=$(FUZZ_SECONDS)
FUZZ_TARGETS := stamps versions paths planning
FUZZ_CXX      = $(or $(firstword $(shell command -v clang++-19 clang++)),clang++) -std=c++20 -O2 -g -Wall -Wextra -Werror -Inative
FUZZED       := $(patsubst %,.build/fuzz/core/%.o,paths planning stamps utf8)
SANITIZERS   := address,undefined -fno-sanitize-recover=all
.PHONY: fuzz $(FUZZ_TARGETS:%=fuzz-%)
.PRECIOUS: .build/fuzz/%
fuzz:
	@$(MAKE) --no-print-directory -j2 $(FUZZ_TARGETS:%=fuzz-%)
$(FUZZ_TARGETS:%=fuzz-%): fuzz-%: .build/fuzz/%
	@tools/fuzz.sh $< $(FUZZ)
.build/fuzz/%: hostile/fuzz.cpp $(FUZZED)
	@$(FUZZ_CXX) -DTARGET=$* -Wno-unused-function -c $< -o $@.o
	@$(FUZZ_CXX) -fsanitize=fuzzer,$(SANITIZERS) $(FUZZED) $@.o -o $@
.build/fuzz/core/%.o: native/core/%.cpp $(wildcard native/core/*.hpp)
	@mkdir -p $(@D) && $(FUZZ_CXX) -fsanitize=fuzzer-no-link,$(SANITIZERS) -c $< -o $@
.build/fuzz/core/utf8.cpp: native/core/utf8.hpp
	@mkdir -p $(@D) && printf '#include "core/utf8.hpp"\nbool is_utf8_with_sanitizers(std::string_view text) { %s }\n' \
	  'return tarnel::core::is_utf8(text);' >$@
.build/fuzz/core/utf8.o: .build/fuzz/core/utf8.cpp
	@$(FUZZ_CXX) -fsanitize=fuzzer-no-link,$(SANITIZERS) -c $< -o $@

# $(call variant,name,arguments for CMake,environment): build the module with other options, in a copy of the package.
# The base interpreter runs it, because the editable package would come first in .venv.
define variant
@echo "Building for $(1)"
@rm -rf .build/$(1)/site && mkdir -p .build/$(1)/site && cp -r src/muvad_tarnel .build/$(1)/site
@for arguments in "-S . -B .build/$(1)/build -G Ninja -DPython_EXECUTABLE=$(CURDIR)/$(PY) -DTARNEL_WERROR=ON $(2)" \
  "--build .build/$(1)/build" "--install .build/$(1)/build --prefix .build/$(1)/site --component extension"; do \
  $(3) $(WITH_VENV) cmake $$arguments >.build/$(1)/log 2>&1 || { cat .build/$(1)/log; exit 1; }; done
endef
with_variant = PYTHONPATH=$(CURDIR)/.build/$(1)/site:$(CURDIR)/$(VENV)/lib/python3.12/site-packages
BASE_PY      = $$($(PY) -c 'import sys; print(sys._base_executable)')
TEST_MODULE  = $(BASE_PY) -m pytest -p xdist -n 2 -q tests/test_*.py $(ARGS)

# AddressSanitizer must be loaded first, with the C++ library whose exceptions it intercepts. Leaks are not detected,
# because the interpreter itself keeps memory at exit.
.PHONY: sanitize
sanitize: $(ENVIRONMENT)
	$(call variant,sanitize,-DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARNEL_SANITIZE=address$(comma)undefined)
	@$(call with_variant,sanitize) PYTHONMALLOC=malloc \
	  LD_PRELOAD="$$(g++ -print-file-name=libasan.so) $$(g++ -print-file-name=libstdc++.so)" \
	  ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
	  $(TEST_MODULE)
comma := ,

# Line coverage of the native code by the tests.
COVERAGE := .build/coverage
.PHONY: coverage
coverage: $(ENVIRONMENT) $(COVERAGE)/.environment
	$(call variant,coverage,-DCMAKE_BUILD_TYPE=Debug,CXXFLAGS="--coverage -fprofile-update=atomic")
	@find $(COVERAGE)/build -name '*.gcda' -delete
	@$(call with_variant,coverage) $(TEST_MODULE)
	@$(COVERAGE)/bin/gcovr --root . --filter native/ --object-directory $(COVERAGE)/build --merge-lines \
	  --exclude-throw-branches --txt --fail-under-line 95 $(COVERAGE)/build/CMakeFiles/*.dir

.PHONY: embedding
embedding: $(ENVIRONMENT)
	@tools/check_embedding.sh

.PHONY: clean
clean:
	rm -rf $(VENV) .build .hypothesis .mypy_cache .pytest_cache .ruff_cache

# A new environment requires a new build: the old one refers to an interpreter and a cmake that are gone.
$(ENVIRONMENT): requirements-dev.txt tools/find_python.sh tools/check_compiler.sh
	@python=$$(tools/find_python.sh); found=$$?; tools/check_compiler.sh && test $$found -eq 0 && \
	  echo "Setting up $(VENV) with $$python" && rm -rf $(BUILD) && "$$python" -m venv --clear $(VENV)
	@$(PIP_INSTALL) -r requirements-dev.txt && $(PY) -m pip check --quiet
	@touch $@

$(LINT_ENVIRONMENT): $(ENVIRONMENT) requirements-lint.txt
	@echo "Installing the linters"
	@$(PIP_INSTALL) -r requirements-lint.txt && $(PY) -m pip check --quiet
	@touch $@

# Other environments, each from the requirements file with its name.
.build/%/.environment: requirements-%.txt tools/find_python.sh
	@echo "Installing the tools for $*"
	@python=$$(tools/find_python.sh) && "$$python" -m venv --clear $(@D)
	@$(@D)/bin/python $(PIP) install -qq --no-deps -r $< && $(@D)/bin/python $(PIP) check --quiet
	@touch $@

# The package's Python files are used directly from src/. The extension is rebuilt and reinstalled if its sources or the
# sources of the package's metadata change.
$(INSTALLED): $(ENVIRONMENT) $(NATIVE_SOURCES) pyproject.toml src/muvad_tarnel/__init__.py
	@echo "Building the extension"
	@$(WITH_VENV) $(PIP_INSTALL) --no-build-isolation -Cbuild-dir=$(BUILD) \
	  -Ccmake.define.TARNEL_WERROR=ON -Ccmake.define.TARNEL_NATIVE_TESTS=ON --editable .
	@touch $@
