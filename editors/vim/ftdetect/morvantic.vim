autocmd BufNewFile,BufRead *.sc set filetype=morvantic
