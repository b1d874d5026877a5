# What of it is meant for programs is in __init__.pyi.
from typing import Any

def __getattr__(name: str) -> Any: ...
