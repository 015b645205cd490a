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
NATIVE_SOURCES := $(shell find native tests/native skills cmake) CMakeLists.txt
# What the native code is formatted and checked by.
CPP   := $(shell find native tests/native -name '*.cpp' -o -name '*.hpp')
SHELL_SCRIPTS := $(wildcard tools/*.sh) .ci/run

PIP_INSTALL := $(PY) -m pip --disable-pip-version-check install -qq --no-deps
# The pinned cmake and ninja come before the machine's.
WITH_VENV := PATH="$(CURDIR)/$(VENV)/bin:$$PATH"

.PHONY: help
help:
	@echo "make demo    install the skills for four agents into an empty repository and show what was written"
	@echo "make test    run the native tests and the Python tests"
	@echo "make lint    check style, types and the native code"
	@echo "make docs    write docs/cli.md, its pictures and the README's table from real runs"
	@echo "make format  apply the formatters and the safe fixes"
	@echo "make hooks   have git run the quick checks at each commit"
	@echo "make clean   remove all that make has made"

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
	@$(PY) -X dev -m pytest $(ARGS)

.PHONY: lint style style-python style-native style-other types tidy
lint: style types tidy

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

.PHONY: format
format: $(LINT_ENVIRONMENT)
	@$(VENV)/bin/ruff check --fix --quiet
	@$(VENV)/bin/ruff format --quiet
	@$(VENV)/bin/clang-format -i $(CPP)

.PHONY: hooks
hooks: $(LINT_ENVIRONMENT)
	@$(VENV)/bin/pre-commit install

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

# The package's Python files are used from src/ as they are; the extension is built and installed again when its sources,
# or what the package's metadata is made of, change.
$(INSTALLED): $(ENVIRONMENT) $(NATIVE_SOURCES) pyproject.toml src/muvad_tarnel/__init__.py
	@echo "Building the extension"
	@$(WITH_VENV) $(PIP_INSTALL) --no-build-isolation -Cbuild-dir=$(BUILD) \
	  -Ccmake.define.TARNEL_WERROR=ON -Ccmake.define.TARNEL_NATIVE_TESTS=ON --editable .
	@touch $@
