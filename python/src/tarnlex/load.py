"""Loading into DuckDB."""
