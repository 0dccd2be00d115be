// Agreement of the live preview with the composite: placeholder until written.
