#!/usr/bin/env bash
# Builds the DXF benchmarks, generates their drawings and prints the Host's and ezdxf's figures.
set -euo pipefail

usage() {
    cat <<'EOF'
usage: bench/run.sh [--small-only] [--build-dir DIR] [--no-ezdxf] [--no-check] [-- BENCH_ARGS...]
  --small-only     skip the 20,000-layer / 1,000,000-entity drawing (ezdxf needs minutes on it)
  --build-dir DIR  Release build folder (default: build-bench in the source tree)
  --no-ezdxf       only the Host's figures
  --no-check       skip the generator's self-check
  BENCH_ARGS       passed to the benchmark binary, e.g. --benchmark_filter=Load
Drawings are cached in DIR/bench-data and reused while the generator is unchanged.
EOF
}

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build-bench"
small_only=0
run_ezdxf=1
run_check=1
bench_args=()
while [[ $# -gt 0 ]]; do
    case "$1" in
        --small-only) small_only=1 ;;
        --build-dir)
            [[ $# -ge 2 ]] || { usage >&2; exit 2; }
            build=$2
            shift
            ;;
        --no-ezdxf) run_ezdxf=0 ;;
        --no-check) run_check=0 ;;
        -h | --help) usage; exit 0 ;;
        --) shift; bench_args=("$@"); break ;;
        *) echo "run.sh: unknown option $1" >&2; usage >&2; exit 2 ;;
    esac
    shift
done

echo "== build ($build, Release)"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DTV_BENCH=ON >/dev/null
cmake --build "$build" -j2 --target gendxf tv_dxf_bench tv_layerstate_bench

gendxf="$build/tools/gendxf"
data="$build/bench-data"

if (( run_check )); then
    echo "== generator self-check"
    /usr/bin/python3 "$root/bench/check_gendxf.py" "$gendxf"
fi

echo "== drawings ($data)"
# The small drawing at 1/4, 1/2 and full size (the load linearity check), then the large one.
sizes=("500 50000" "1000 100000" "2000 200000")
(( small_only )) || sizes+=("20000 1000000")
files=()
for size in "${sizes[@]}"; do
    read -r layers entities <<<"$size"
    path=$("$gendxf" --layers "$layers" --entities "$entities" --cache-dir "$data")
    awk -v name="$(basename "$path")" -v bytes="$(stat -c %s "$path")" \
        'BEGIN { printf "  %-50s %7.1f MB\n", name, bytes / 1e6 }'
    files+=("$path")
done

echo "== Layer states: 1,000 / 10,000 / 100,000 layers (per_layer: time per layer)"
"$build/bench/tv_layerstate_bench"

echo "== Host: load and save (Google Benchmark; bytes_per_second is MiB/s)"
flags=(--benchmark_counters_tabular=true)
(( small_only )) && flags+=(--small-only)
TV_BENCH_DATA="$data" "$build/bench/tv_dxf_bench" "${flags[@]}" ${bench_args[@]+"${bench_args[@]}"}

if (( run_ezdxf )); then
    echo "== ezdxf: read"
    /usr/bin/python3 "$root/bench/ezdxf_read.py" "${files[@]}"
fi
