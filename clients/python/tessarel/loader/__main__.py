"""python3 -m tessarel.loader"""
import sys

from . import main

sys.exit(main())
