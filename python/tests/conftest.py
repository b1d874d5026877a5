"""Catalogues that all tests read once."""

import pathlib

import kwxml
import pytest

HERE = pathlib.Path(__file__).parent
SAMPLE = HERE.parent.parent / "catalogue" / "sample"


@pytest.fixture(scope="session")
def sample():
    """All systems of the sample catalogue."""
    return kwxml.Catalogue(SAMPLE)


@pytest.fixture(scope="session")
def types(sample):
    """The system with every field type."""
    return sample.Types


@pytest.fixture(scope="session")
def pets():
    """A catalogue of one system."""
    return kwxml.Catalogue(HERE / "Pets.xml")


def pytest_addoption(parser):
    parser.addoption("--library", default=None, help="a compiled catalogue, the sample's")


@pytest.fixture(scope="session")
def library(request):
    """The path of the compiled sample catalogue; None where there is none."""
    return request.config.getoption("--library")
