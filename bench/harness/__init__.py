"""The measurement behind bench/run: docs/performance.md says how it works and how to read it."""
