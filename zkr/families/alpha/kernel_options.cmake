# The compositing kernels round every product and sum on its own (no fused multiply-add): every
# level then gives the same bits for 32f, also where an overflowing product meets an infinity
# (a fused one gives an infinity there, a rounded one NaN). Integer kernels are unaffected.
set(ZKR_KERNEL_OPTIONS -ffp-contract=off)
