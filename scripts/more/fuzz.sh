#!/usr/bin/env bash
# Fuzzes the text layer and the whole program for two minutes.
set -euo pipefail
cd "$(dirname "$0")/../.."
SHORT=1 bash scripts/fuzz.sh
