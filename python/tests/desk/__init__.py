"""Tests of tarnlex-desk."""
