#!/usr/bin/env bash
# A Slurm job array: one task per shard, each on a whole node so that nothing else runs beside the
# measurement. Submit from the source tree after building on a shared file system:
#     sbatch --array=1-8 tools/fleet/slurm-shards.sh build results
# (the array's size is the number of shards; add --constraint=... or --partition=... to pick the
# processor models to compare, and export QM_LEVEL / QM_THREADS to choose level and thread count).
#SBATCH --job-name=quillmark
#SBATCH --exclusive
#SBATCH --nodes=1
#SBATCH --ntasks=1
#SBATCH --output=quillmark-%A_%a.log
set -euo pipefail
: "${SLURM_ARRAY_TASK_ID:?submit with sbatch --array=1-N}"
count="${SLURM_ARRAY_TASK_COUNT:-$((SLURM_ARRAY_TASK_MAX - SLURM_ARRAY_TASK_MIN + 1))}"
exec "${SLURM_SUBMIT_DIR:-.}/tools/fleet/run-shard.sh" "$SLURM_ARRAY_TASK_ID" "$count" "${1:-build}" "${2:-results}"
