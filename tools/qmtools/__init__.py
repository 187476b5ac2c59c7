"""Shared code of the Quillmark result-table tools: reading tables, comparing runs, drawing reports."""
