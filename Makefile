# One command each: "make demo", "make test", "make lint". The first of them sets up .venv and builds the extension;
# after that only what has changed is done again. Needed: a C++20 compiler, CPython 3.12 and the network for pip.
#   make test ARGS="-k planning"                   arguments for pytest
#   make PYTHON=/path/to/python3.12 CXX=clang++    when they are not found by themselves (for the first run)

.DEFAULT_GOAL := help

VENV  := .venv
PY    := $(VENV)/bin/python
# Not build/: "cmake -S . -B build" is the user's, and "make clean" leaves it alone.
BUILD := .build/dev

ENVIRONMENT      := $(VENV)/.environment
LINT_ENVIRONMENT := $(VENV)/.lint-environment
INSTALLED        := $(BUILD)/.installed

# Folders are listed as well: their time changes when a file is added or removed.
NATIVE_SOURCES := $(shell find native tests/native skills) cmake/EmbedDocuments.cmake CMakeLists.txt
# What the native code is formatted and checked by.
CPP   := $(shell find native tests/native hostile -name '*.cpp' -o -name '*.hpp' -o -name '*.c')
SHELL_SCRIPTS := $(wildcard tools/*.sh) .ci/run

PIP := -m pip --disable-pip-version-check
PIP_INSTALL := $(PY) $(PIP) install -qq --no-deps
# The pinned cmake and ninja come before the machine's.
WITH_VENV := PATH="$(CURDIR)/$(VENV)/bin:$$PATH"

.PHONY: help
help:
	@echo "make demo       install the skills for four agents into an empty repository and show what was written"
	@echo "make test       run the native tests and the Python tests"
	@echo "make hostile    fail, starve, interrupt, kill and mislead the module, and count what comes of it; longer: soak"
	@echo "make lint       check style, types and the native code"
	@echo "make docs       write docs/cli.md, its pictures and the README's table from real runs"
	@echo "make format     apply the formatters and the safe fixes"
	@echo "make hooks      have git run the quick checks at each commit"
	@echo "make packages   build and check the source distribution and the wheels; one: sdist, wheel, linux-wheel, mac-wheel"
	@echo "make clients    test the wheel with third-party tools and libraries"
	@echo "make bench      time the extension against plain Python, Cython, mypyc and the bare system calls"
	@echo "make bench-counts  count its system calls and instructions, and hold them to the recorded ceilings"
	@echo "make fuzz       try random inputs on the core under sanitizers, each against a plain definition of the answer"
	@echo "make embedding  build the extension by itself and test a host that vendors it"
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

# The hostile tests: counted experiments, see docs/reliability.md. One of them takes longer than pytest lets a test take.
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
	@git diff --check $$(git hash-object -t tree /dev/null)  # blanks at line ends, in files of any kind

types: $(LINT_ENVIRONMENT) $(INSTALLED)
	@$(VENV)/bin/mypy
	@$(VENV)/bin/stubtest --mypy-config-file pyproject.toml muvad_tarnel.setup.skill

# clang-tidy takes seconds per source: each is checked again only when it, a header or the way it is compiled changes.
TIDY := $(patsubst %.cpp,.build/tidy/%.checked,$(shell find native -name '*.cpp'))
tidy: $(LINT_ENVIRONMENT) $(INSTALLED)
	@$(MAKE) --no-print-directory -j2 $(TIDY)
.build/tidy/%.checked: %.cpp $(filter %.hpp,$(CPP)) .clang-tidy CMakeLists.txt $(LINT_ENVIRONMENT) | $(INSTALLED)
	@echo "clang-tidy $<"
	@$(VENV)/bin/clang-tidy -p $(BUILD) --quiet $<
	@mkdir -p $(@D) && touch $@

# What "make docs" writes is what it would write today.
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

# Packages, into .build/packages/<target>, each looked at as soon as it is built. Their tools (zig among them) have an
# environment of their own, and the folder of zig's program is put on PATH for CMake to find.
PACKAGES     := .build/packages
PACKAGING    := .build/packaging
PACKAGING_PY := $(PACKAGING)/bin/python
ZIG_FOLDER    = $$($(PACKAGING_PY) -c 'import os, ziglang; print(os.path.dirname(ziglang.__file__))')
WITH_PACKAGING := PATH="$(CURDIR)/$(PACKAGING)/bin:$(ZIG_FOLDER):$$PATH"

# $(call build,target,arguments): what a build prints is of interest when it fails.
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

# As pip does it for everyone without a wheel of their own: from the source distribution, with this machine's compiler.
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

# Python itself names the platform of the wheel; the file's suffix cannot be asked of this machine's.
mac-wheel: $(PACKAGING)/.environment
	$(call build,mac-wheel,--wheel -Cbuild-dir=.build/mac-wheel \
	  -Ccmake.toolchain-file=cmake/cross/macos-arm64.cmake -Ccmake.define.TARNEL_SOABI=cpython-312-darwin,\
	  _PYTHON_HOST_PLATFORM=macosx-11.0-arm64)
	@$(call check_wheel,$(PACKAGES)/mac-wheel/*-cp312-cp312-macosx_11_0_arm64.whl)
	@$(PACKAGING_PY) tools/check_macho.py $(PACKAGES)/mac-wheel/*.whl

# What a hosted machine does for the platforms that are not at hand.
workflow: $(PACKAGING)/.environment
	@tools/check_workflow.sh

# Programs and libraries of others, meeting the package in use: they have the wheel, and a folder with what it requires.
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

# The benchmark: the extension as it was just built, beside the same module from other compilers.
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
	@echo "Building what the extension is compared with"
	@$(BENCH_PY) bench/peers.py $(PEERS)
	@touch $@

# libFuzzer, which needs clang. Sanitizers and the guidance by coverage are for the core: what it is compared with would
# take most of the time with them. FUZZ="-runs=1000000" counts inputs instead of seconds.
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

# $(call variant,name,arguments for CMake,environment): the module built in another way, in a copy of the package. It is used by the
# interpreter itself, for in .venv the editable package would be found first.
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

# AddressSanitizer has to be loaded first, and with it the C++ library whose exceptions it sees. What the interpreter
# itself keeps at its end is no leak of the module's.
.PHONY: sanitize
sanitize: $(ENVIRONMENT)
	$(call variant,sanitize,-DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARNEL_SANITIZE=address$(comma)undefined)
	@$(call with_variant,sanitize) PYTHONMALLOC=malloc \
	  LD_PRELOAD="$$(g++ -print-file-name=libasan.so) $$(g++ -print-file-name=libstdc++.so)" \
	  ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
	  $(TEST_MODULE)
comma := ,

# Which lines of the native code the tests run.
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

# A new environment also means a new build: the old one knows the interpreter and the cmake that are gone.
$(ENVIRONMENT): requirements-dev.txt tools/find_python.sh tools/check_compiler.sh
	@python=$$(tools/find_python.sh); found=$$?; tools/check_compiler.sh && test $$found -eq 0 && \
	  echo "Setting up $(VENV) with $$python" && rm -rf $(BUILD) && "$$python" -m venv --clear $(VENV)
	@$(PIP_INSTALL) -r requirements-dev.txt && $(PY) -m pip check --quiet
	@touch $@

$(LINT_ENVIRONMENT): $(ENVIRONMENT) requirements-lint.txt
	@echo "Installing the linters"
	@$(PIP_INSTALL) -r requirements-lint.txt && $(PY) -m pip check --quiet
	@touch $@

# Environments for other occasions, each from the requirements of its name.
.build/%/.environment: requirements-%.txt tools/find_python.sh
	@echo "Installing what \"make\" uses for $*"
	@python=$$(tools/find_python.sh) && "$$python" -m venv --clear $(@D)
	@$(@D)/bin/python $(PIP) install -qq --no-deps -r $< && $(@D)/bin/python $(PIP) check --quiet
	@touch $@

# The package's Python files are used from src/ as they are; the extension is built and installed again when its sources,
# or what the package's metadata is made of, change.
$(INSTALLED): $(ENVIRONMENT) $(NATIVE_SOURCES) pyproject.toml src/muvad_tarnel/__init__.py
	@echo "Building the extension"
	@$(WITH_VENV) $(PIP_INSTALL) --no-build-isolation -Cbuild-dir=$(BUILD) \
	  -Ccmake.define.TARNEL_WERROR=ON -Ccmake.define.TARNEL_NATIVE_TESTS=ON --editable .
	@touch $@
