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
CPP   := $(shell find native tests/native -name '*.cpp' -o -name '*.hpp')
SHELL_SCRIPTS := $(wildcard tools/*.sh) .ci/run

PIP := -m pip --disable-pip-version-check
PIP_INSTALL := $(PY) $(PIP) install -qq --no-deps
# The pinned cmake and ninja come before the machine's.
WITH_VENV := PATH="$(CURDIR)/$(VENV)/bin:$$PATH"

.PHONY: help
help:
	@echo "make demo       install the skills for four agents into an empty repository and show what was written"
	@echo "make test       run the native tests and the Python tests"
	@echo "make lint       check style, types and the native code"
	@echo "make docs       write docs/cli.md, its pictures and the README's table from real runs"
	@echo "make format     apply the formatters and the safe fixes"
	@echo "make hooks      have git run the quick checks at each commit"
	@echo "make packages   build and check the source distribution and the wheels; one: sdist, wheel, linux-wheel, mac-wheel"
	@echo "make clients    test the wheel with third-party tools and libraries"
	@echo "make bench      time the extension against plain Python, Cython, mypyc and the bare system calls"
	@echo "make bench-counts  count its system calls and instructions, and hold them to the recorded ceilings"
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
