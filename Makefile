# The tasks of every day. Each installs from Debian's packages what it needs and the machine lacks.

PAQUETES := tools/desarrollo/paquetes.sh
DATOS    ?= datos-demo
CAPTURAS ?= out/capturas
FUZZ_SECONDS ?= 3600
PREFIX   ?= /usr/local
PRUEBA   ?=
SEMILLAS ?= 1 2 3 4 5 6 7 8
PASOS    ?= 1000000
AGENDA   ?= multi
export LAB_DIR ?= $(HOME)/.cache/agenda-red
FUENTES   = $(shell git ls-files '*.cpp' '*.h')

.PHONY: hostil manual install deb windows-dbase help run test bench red format format-check tidy asan coverage fuzz simulacion release dev clean

help:
	@echo "make run       build and open the program (DATOS=folder for other data)"
	@echo "make test      build everything with warnings as errors and run every test"
	@echo "make bench     print the speeds, measured on a release build"
	@echo "make format    put every source into the house's format; format-check only looks"
	@echo "make tidy      clang-tidy over every source"
	@echo "make install   put the release build below PREFIX (/usr/local); make deb packs it for Debian"
	@echo "make manual    draw the pictures of docs/manual again"
	@echo "make asan      the tests under AddressSanitizer and UndefinedBehaviorSanitizer"
	@echo "make windows-dbase   the table files and agendatool for Windows; their tests under wine where it is installed"
	@echo "make coverage  which lines the tests reach"
	@echo "make red       shares (SMB, NFS) with three workstations, all virtual machines (PRUEBA='juntos nfs' for one experiment)"
	@echo "make simulacion  several workstations in an agenda by chance, for hours (AGENDA=multi, unica, doble or todas; SEMILLAS='1 2 3' PASOS=steps for each)"
	@echo "make hostil    the programs with next to no memory and in folders with thousands of tables, for some minutes"
	@echo "make fuzz      arbitrary bytes for what reads files (FUZZ_SECONDS=time for each target)"

release:
	@$(PAQUETES) construir ejecutar
	cmake --preset release
	cmake --build --preset release

# With a display the program opens on it. Without one the same windows are drawn off-screen into pictures.
run:
	@$(PAQUETES) construir ejecutar
	cmake --preset release
	cmake --build --preset release --target oficina ZenAgenda
	@if [ -n "$$DISPLAY" ] || [ -n "$$WAYLAND_DISPLAY" ]; then \
	    exec build/release/bin/oficina --datos "$(DATOS)" --crear-demo; \
	else \
	    mkdir -p "$(CAPTURAS)" && \
	    QT_QPA_PLATFORM=offscreen build/release/bin/oficina --datos "$(DATOS)" --crear-demo --capturas "$(CAPTURAS)" && \
	    echo "No hay pantalla: las ventanas quedan dibujadas en $(abspath $(CAPTURAS))"; \
	fi

install: release
	cmake --install build/release --prefix "$(DESTDIR)$(PREFIX)" --strip

manual:
	@$(PAQUETES) construir ejecutar
	cmake --preset release
	cmake --build --preset release --target oficina ZenAgenda
	docs/manual/imagenes.sh build/release/bin

deb: release
	@$(PAQUETES) empaquetar
	cd build/release && cpack
	cd build/release && ctest --output-on-failure -R '^paquete\.'
	@ls build/release/paquete/*.deb

test:
	@$(PAQUETES) construir pruebas empaquetar
	cmake --preset ci
	cmake --build --preset ci
	ctest --preset ci
	@if command -v x86_64-w64-mingw32-g++-posix >/dev/null 2>&1; then $(MAKE) windows-compile; fi

dev:
	@$(PAQUETES) construir pruebas
	cmake --preset dev
	cmake --build --preset dev

bench: release
	@$(PAQUETES) medir
	bench/medir.sh build/release/bin

format:
	@$(PAQUETES) formato
	clang-format -i $(FUENTES)

format-check:
	@$(PAQUETES) formato
	clang-format --dry-run -Werror $(FUENTES)

tidy:
	@$(PAQUETES) construir tidy
	cmake --preset tidy
	cmake --build --preset tidy -- -k 0

asan:
	@$(PAQUETES) construir pruebas asan
	cmake --preset asan
	cmake --build --preset asan
	ctest --preset asan

# What has no Qt, for Windows; also part of "make test" where the compiler for it is installed.
windows-compile:
	@$(PAQUETES) construir windows
	cmake --preset windows-dbase
	cmake --build --preset windows-dbase --target dbase agendatool test_dbase test_tools

# Runs the tests too where wine is installed.
windows-dbase: windows-compile
	@if command -v wine >/dev/null 2>&1; then cd build/windows-dbase/bin && WINEDEBUG=-all wine ./test_dbase.exe && WINEDEBUG=-all wine ./test_tools.exe; \
	else echo "No hay wine: compilado, sin ejecutar las pruebas"; fi

coverage:
	@$(PAQUETES) construir pruebas cobertura
	cmake --preset coverage
	cmake --build --preset coverage
	ctest --preset coverage
	mkdir -p out/cobertura
	gcovr --root . --object-directory build/coverage --exclude tests --exclude build --html-details out/cobertura/index.html --print-summary

# What is found lands in out/fuzz; an input that has been mended goes into tests/fuzz/corpus.
fuzz:
	@$(PAQUETES) construir asan
	cmake --preset fuzz
	cmake --build --preset fuzz
	@for objetivo in $$(ls tests/fuzz/corpus); do \
	    echo "$$objetivo: $(FUZZ_SECONDS) s"; \
	    mkdir -p "out/fuzz/$$objetivo" && \
	    build/fuzz/bin/fuzz_$$objetivo -max_total_time=$(FUZZ_SECONDS) -max_len=16384 -timeout=10 -verbosity=0 \
	        -artifact_prefix="out/fuzz/$$objetivo-" "out/fuzz/$$objetivo" "tests/fuzz/corpus/$$objetivo" || exit 1; \
	done

# What "make test" does on a small scale: thousands of tables, a limit on memory in small steps. Some minutes.
hostil:
	@$(PAQUETES) construir pruebas
	cmake --preset ci
	cmake --build --preset ci --target test_dbase test_tools
	AGENDA_HOSTIL=1 build/ci/bin/test_dbase --gtest_filter='ManyTables.*:Mappings.*'
	AGENDA_HOSTIL=1 build/ci/bin/test_tools --gtest_filter='Hardship.*'

# Ends at the first failure, with the shortest run that shows it.
simulacion:
	@$(PAQUETES) construir pruebas
	cmake --preset release
	cmake --build --preset release --target simulacion
	@for semilla in $(SEMILLAS); do \
	    echo "semilla $$semilla"; \
	    build/release/bin/simulacion --agenda $(AGENDA) --semilla $$semilla --pasos $(PASOS) || exit 1; \
	done

# Takes most of an hour; see tests/red/README.md.
red:
	@$(PAQUETES) construir red
	cmake --preset release
	cmake --build --preset release --target agendadriver agendatool oficina ZenAgenda
	python3 tests/red/test_judge.py
	@[ -e "$(LAB_DIR)/base.img" ] || tests/red/imagen.sh disco
	tests/red/imagen.sh programas build/release/bin
	nice -n 19 python3 tests/red/red.py $(if $(PRUEBA),prueba $(PRUEBA),todo)

clean:
	rm -rf build out
